// The names of new rows or columns.
#include "problem/transfer/name_batch.hpp"

#include <algorithm>
#include <cstring>
#include <string_view>

namespace quilex {

namespace {

std::string_view characters(PyObject* name) noexcept {
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
    const size_t position = numbered ? numbers_.size() : text_.size();
    if (runs_.empty() || runs_.back().numbered != numbered || runs_.back().end != position) {
        runs_.push_back({numbered, 0, position, position});
    }
    return runs_.back();
}

void NameBatch::add_number(uint64_t serial) {
    Run& run = run_for(true);
    numbers_.push_back(static_cast<int64_t>(serial));
    run.end = numbers_.size();
    ++run.count;
}

void NameBatch::add_name(PyObject* name, const char* kind, Py_ssize_t longest) {
    require_valid_name(name, kind);
    Run& run = run_for(false);
    const std::string_view kept = characters(name).substr(0, static_cast<size_t>(longest));
    const size_t offset = text_.size();
    text_.resize(offset + kept.size() + 1, '\0');
    std::memcpy(text_.data() + offset, kept.data(), kept.size());
    run.end = text_.size();
    ++run.count;
}

void NameBatch::truncate(size_t count) noexcept {
    size_t kept = 0;
    for (Run& run : runs_) {
        const auto length =
            static_cast<int>(std::min(static_cast<size_t>(run.count), count - kept));
        if (length < run.count) run.end = SIZE_MAX;  // nothing can follow in this run
        run.count = length;
        kept += static_cast<size_t>(length);
    }
    if (count > 0) return;
    runs_.clear();
    numbers_.clear();
    text_.clear();
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
