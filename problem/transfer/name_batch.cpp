// The names of new rows or columns.
#include "problem/transfer/name_batch.hpp"

#include <string_view>

namespace quilex {

namespace {

std::string_view characters(PyObject* name) noexcept {
    if (name == nullptr) return {};
    if (PyUnicode_Check(name)) {
        return {static_cast<const char*>(PyUnicode_DATA(name)),
                static_cast<size_t>(PyUnicode_GET_LENGTH(name))};
    }
    if (PyBytes_Check(name)) {
        return {PyBytes_AS_STRING(name), static_cast<size_t>(PyBytes_GET_SIZE(name))};
    }
    return {};
}

}  // namespace

void require_valid_name(PyObject* name, const char* kind) {
    if (PyUnicode_Check(name)) {
        require_status(PyUnicode_READY(name));
        if (!PyUnicode_IS_ASCII(name)) {
            raise_runtime_error("Invalid %s name %R (must be ASCII)", kind, name);
        }
    }
    if (characters(name).find('\0') != std::string_view::npos) {
        raise_runtime_error("Invalid %s name %R (must not hold a NUL character)", kind, name);
    }
}

// The run that the next name goes to.
NameBatch::Run& NameBatch::run_for(bool numbered) {
    if (runs_.empty() || runs_.back().numbered != numbered) {
        runs_.push_back({numbered, 0, numbered ? numbers_.size() : text_.size()});
    }
    return runs_.back();
}

void NameBatch::add_number(uint64_t serial) {
    Run& run = run_for(true);
    numbers_.push_back(static_cast<int64_t>(serial));
    ++run.count;
}

void NameBatch::add_name(PyObject* name, const char* kind, Py_ssize_t longest) {
    if (name != nullptr) require_valid_name(name, kind);
    Run& run = run_for(false);
    text_.append(characters(name).substr(0, static_cast<size_t>(longest)));
    text_.push_back('\0');
    ++run.count;
}

void NameBatch::clear() noexcept {
    runs_.clear();
    numbers_.clear();
    text_.clear();
}

void NameBatch::rewind(const Mark& mark) noexcept {
    runs_.erase(runs_.begin() + static_cast<ptrdiff_t>(mark.runs), runs_.end());
    if (!runs_.empty()) runs_.back().count = mark.last_count;
    numbers_.resize(mark.numbers);
    text_.resize(mark.characters);
}

int NameBatch::send(QLXprob prob, int type, int first) const {
    for (const Run& run : runs_) {
        if (run.count == 0) continue;
        const int last = first + run.count - 1;
        const int status =
            run.numbered
                ? QLXaddnumberednames(prob, type, numbers_.data() + run.offset, 0, first, last)
                : QLXaddnames(prob, type, text_.data() + run.offset, first, last);
        if (status != 0) return status;
        first = last + 1;
    }
    return 0;
}

}  // namespace quilex
