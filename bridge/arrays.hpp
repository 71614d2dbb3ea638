// Array arguments of library methods, typed by element kind. They free their arrays on every path
// out of a method.
//
//     TiedLength entries;
//     const InputArray<kColumnIndex> columns(problem, mindex, entries);
//     const InputArray<kDouble> values(problem, obj, entries);
//     require_library(self, QLXchgobj(problem->prob, entries.count(), columns, values));
#pragma once

#include <algorithm>

#include "bridge/conversion.hpp"
#include "module/library_error.hpp"

namespace quilex {

// The common length of several array arguments. The first array sets it; every further one must
// have it. Iterators, whose length is known only at their end, are held to it as well.
class TiedLength {
  public:
    // -1 while no array was given.
    int64_t value() const noexcept { return value_; }
    // As an int argument of the library; 0 while no array was given.
    int count() const {
        if (value_ > INT32_MAX) raise_runtime_error("Array arguments of more than 2^31 elements");
        return value_ < 0 ? 0 : static_cast<int>(value_);
    }
    // Sets or checks the length.
    void hold(int64_t length) {
        int64_t expected = value_;
        check_length(&expected, static_cast<Py_ssize_t>(length));
        value_ = expected;
    }
    int64_t* expected() noexcept { return &value_; }

  private:
    int64_t value_ = -1;
};

// An array argument; null pointer for None and for an argument that was not given.
template <ElementKind Kind>
class InputArray {
  public:
    InputArray(Problem* problem, PyObject* object, TiedLength& length) {
        if (object == nullptr || object == Py_None) return;
        int64_t found = length.value();
        array_ = convert_container<Kind>(problem, &found, object);
        length.hold(found);
    }
    // An array of any length.
    InputArray(Problem* problem, PyObject* object) {
        if (object == nullptr || object == Py_None) return;
        array_ = convert_container<Kind>(problem, nullptr, object);
    }

    operator Element<Kind>*() const noexcept { return array_.get(); }
    size_t size() const noexcept { return array_.size(); }
    std::span<Element<Kind>> elements() const noexcept { return array_.elements(); }

  private:
    ConvertedArray<Kind> array_;
};

// An array that the library fills and that is then written into the caller's list; null pointer
// where the caller does not want it.
template <ElementKind Kind>
class OutputArray {
  public:
    OutputArray(Problem* problem, PyObject* list, size_t length) : problem_(problem), list_(list) {
        if (list != nullptr && list != Py_None) {
            if (!PyList_Check(list)) raise_runtime_error("Argument of type List required");
            array_ = Block<Element<Kind>>(std::max<size_t>(length, 1));
        }
    }

    operator Element<Kind>*() const noexcept { return array_.get(); }
    // Writes the first `count` elements into the list.
    void fill(size_t count) {
        if (conv_arr2obj(as_object(problem_), static_cast<int64_t>(count), array_.get(), &list_,
                         Kind) != 0) {
            throw PythonFailure();
        }
    }

  private:
    Problem* problem_;
    PyObject* list_;  // borrowed: an argument of the method
    Block<Element<Kind>> array_;
};

}  // namespace quilex
