// The parts of arguments' forms that do not depend on types.
#include "bridge/method_arguments.hpp"

#include "bridge/new_objects.hpp"
#include "problem/access.hpp"

namespace quilex {

namespace {

int64_t attribute_value(const Problem* problem, int attribute) {
    int64_t value = 0;
    require_library(as_object(const_cast<Problem*>(problem)),
                    QLXgetintattrib64(problem->prob, attribute, &value));
    return value;
}

void check_end(int64_t index, int64_t items, const char* name) {
    if (index >= 0 && index < items) return;
    if (items == 0) {
        raise_runtime_error("%s is %lld, but there are none", name, static_cast<long long>(index));
    }
    raise_runtime_error("%s is %lld, must be 0 .. %lld", name, static_cast<long long>(index),
                        static_cast<long long>(items - 1));
}

}  // namespace

int64_t number_of_items(const Problem* problem, ElementKind kind) {
    return attribute_value(problem, kind == kRowIndex ? QLX_ATTRIB_ROWS : QLX_ATTRIB_COLS);
}

int64_t resolve_size(const MethodCall& call, const Size& size, const Place& place) {
    const auto named = [&]() -> const ArgumentState& { return call.arguments[place.named]; };
    switch (size.kind) {
        case Size::Kind::kAny:
            break;
        case Size::Kind::kSameAs:
            return std::max<int64_t>(named().length.value(), 0);
        case Size::Kind::kStartsOf:
            return std::max<int64_t>(named().length.value(), 0) + 1;
        case Size::Kind::kEntriesOf:
            if (named().number < 0) {
                raise_runtime_error("%s ends with %lld, must end with the number of entries",
                                    size.name, static_cast<long long>(named().number));
            }
            return named().number;
        case Size::Kind::kRange:
            return call.range();
        case Size::Kind::kStartsOfRange:
            return call.range() + 1;
        case Size::Kind::kAttribute:
            return attribute_value(call.problem, size.attribute);
        case Size::Kind::kCounted:
            return named().number;
        case Size::Kind::kStartsOfCounted:
            return named().number + 1;
    }
    return 0;
}

void check_range(MethodCall& call, ElementKind kind, const char* empty_range) {
    if (call.is_empty) return;
    if (call.last < call.first && empty_range != nullptr) raise_runtime_error("%s", empty_range);
    const int64_t items = number_of_items(call.problem, kind);
    check_end(call.first, items, "first");
    check_end(call.last, items, "last");
    if (call.last < call.first) {
        raise_runtime_error("first is %d, above last = %d", call.first, call.last);
    }
}

Block<char> text_argument(PyObject* object, const char* keyword, bool or_none) {
    if (or_none && !is_given(object)) return {};
    if (!PyUnicode_Check(object) && !PyBytes_Check(object)) {
        raise(PyExc_TypeError, "%s must be str, not %.200s", keyword, Py_TYPE(object)->tp_name);
    }
    require_valid_name(object, keyword);
    Block<char> text = Block<char>::adopt(pyStrToStr(object));
    if (text) return text;
    if (!PyErr_Occurred()) throw std::bad_alloc();
    throw PythonFailure();
}

void NewRows::convert(MethodCall&, const Place&, PyObject* object, Held& held) const {
    if (!is_given(object)) return;
    if (!PyList_Check(object) && !PyTuple_Check(object)) {
        raise_runtime_error("Invalid sequence of objects");
    }
    held.names = object;
}

void NewRows::prepare(MethodCall& call, const Place& place, Held& held) const {
    // The names may be of a type of the user's, whose items are the results of any code.
    const ConversionScope conversion(call.problem);
    held.first = rows_to_append_to(call.problem);
    held.count = static_cast<int>(resolve_size(call, size, place));
    addRowsAsConstraints(call.problem, held.names, held.first, held.count);
    held.awaiting = call.problem;
}

NewRows::Held::~Held() {
    if (awaiting != nullptr) disown_constraints(awaiting, first, count);
}

void NewRows::finish(MethodCall& call, const Place&, Held& held) const {
    if (held.names == nullptr) return;
    for (int i = 0; i < held.count; ++i) {
        const Ref name = Ref::steal(PySequence_GetItem(held.names, i));
        const Block<char> text = Block<char>::adopt(name ? pyStrToStr(name.get()) : nullptr);
        if (!text) raise_runtime_error("Cannot convert constraint name");
        require_library(as_object(call.problem),
                        QLXaddnames(call.problem->prob, QLX_NAMES_ROW, text.get(), held.first + i,
                                    held.first + i));
    }
}

}  // namespace quilex
