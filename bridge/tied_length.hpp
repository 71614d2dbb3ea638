// The common length of several array arguments of a library method.
#pragma once

#include "bridge/conversion.hpp"

namespace quilex {

// The first array sets the length; every further one must have it. Iterators, whose length is known
// only at their end, are held to it as well.
class TiedLength {
  public:
    // -1 while no array was given.
    int64_t value() const noexcept { return value_; }
    // As an argument of the library; 0 while no array was given.
    template <class Number = int>
    Number count() const {
        if (value_ > std::numeric_limits<Number>::max())
            raise_runtime_error("Array arguments of more than 2^31 elements");
        return value_ < 0 ? 0 : static_cast<Number>(value_);
    }
    // Sets or checks the length.
    void hold(int64_t length) {
        int64_t expected = value_;
        check_length(&expected, static_cast<Py_ssize_t>(length));
        value_ = expected;
    }

  private:
    int64_t value_ = -1;
};

}  // namespace quilex
