// The names of new rows or columns, handed to the library in runs: default names by number (their
// text is never made here), given names packed one after another.
#pragma once

#include "problem/problem.hpp"

namespace quilex {

class NameBatch {
  public:
    // A default name, made by the library from the serial number when it is asked for.
    void add_number(uint64_t serial);
    // A name that the user gave, at most `longest` characters of it. `kind` is the word for the
    // item in messages. A str must be ASCII. Null, and other objects than str and bytes: an empty
    // name.
    void add_name(PyObject* name, const char* kind, Py_ssize_t longest);
    void clear() noexcept;
    // Names the items from index `first` on; `type` is one of QLX_NAMES_... Returns the library's
    // status.
    int send(QLXprob prob, int type, int first) const;

    // See problem/transfer/append.hpp. A failed append may leave a name half added.
    struct Mark {
        size_t runs;
        int last_count;  // of the last run
        size_t numbers;
        size_t characters;
    };
    Mark mark() const noexcept {
        return {runs_.size(), runs_.empty() ? 0 : runs_.back().count, numbers_.size(),
                text_.size()};
    }
    void rewind(const Mark& mark) noexcept;

  private:
    struct Run {
        bool numbered;
        int count;
        size_t offset;  // of its first number or character
    };
    Run& run_for(bool numbered);

    std::vector<Run> runs_;
    std::vector<int64_t> numbers_;
    std::string text_;
};

// Whether a name object can be given to the library, with the exception set otherwise: refuses str
// that is not ASCII and names with a NUL character.
void require_valid_name(PyObject* name, const char* kind);

}  // namespace quilex
