// The frame of methods that hand their arguments to one library function. A method is stated by the
// function, the forms of its arguments in the function's order, and what is said when one is
// missing:
//
//     constexpr LibraryCall kChgobj{QLXchgobj, "Must provide arguments mindex, obj",
//                                   Array<kColumnIndex>{"mindex"}, Array<kDouble>{"obj"}};
//     PyMethodDef entry = {"chgobj", method<library_method<kChgobj>>, ...};
#pragma once

#include <array>
#include <tuple>

#include "bridge/arrays.hpp"
#include "bridge/integers.hpp"
#include "module/boundary.hpp"
#include "problem/access.hpp"
#include "problem/row_gate.hpp"

namespace quilex {

// Argument forms. Each converts a Python object into what the library function takes.

// Elements of one kind. All arrays of a call have one length, which the function takes before its
// other arguments.
template <ElementKind Kind>
struct Array {
    static constexpr bool is_array = true;
    static constexpr ElementKind kind = Kind;
    const char* keyword;
    InputArray<Kind> convert(Problem* problem, PyObject* object, TiedLength& length) const {
        return InputArray<Kind>(problem, object, length);
    }
};

// One row or column: its index, name or modelling object.
template <ElementKind Kind>
struct Index {
    static constexpr bool is_array = false;
    static constexpr ElementKind kind = Kind;
    const char* keyword;
    int convert(Problem* problem, PyObject* object, TiedLength&) const {
        return require_index(problem, object, Kind);
    }
};

struct Real {
    static constexpr bool is_array = false;
    static constexpr ElementKind kind = kDouble;
    const char* keyword;
    double convert(Problem*, PyObject* object, TiedLength&) const {
        const double value = PyFloat_AsDouble(object);
        if (value == -1.0 && PyErr_Occurred()) throw PythonFailure();
        return value;
    }
};

struct Integer {
    static constexpr bool is_array = false;
    static constexpr ElementKind kind = kInt32;
    const char* keyword;
    int convert(Problem*, PyObject* object, TiedLength&) const {
        const Ref number = require(PyNumber_Index(object));
        return int32_value(number.get());
    }
};

template <class Function, class... Forms>
struct LibraryCall {
    // missing: the RuntimeError for an argument that is not given or None; null leaves it to
    // Python's own errors.
    constexpr LibraryCall(Function* called, const char* missing_text, Forms... arguments)
        : function(called), missing(missing_text), forms(arguments...) {}

    Function* function;
    const char* missing;
    std::tuple<Forms...> forms;

    static constexpr size_t kCount = sizeof...(Forms);
    static constexpr bool kHasArrays = (Forms::is_array || ...);
    // A function of rows and columns changes coefficients, one of rows alone their sides.
    static constexpr bool kHasColumns = ((Forms::kind == kColumnIndex) || ...);
};

// The arguments of a method that takes `count` objects, by position or keyword. The references are
// held, as conversions may run any Python code.
template <size_t Count>
std::array<Ref, Count> parse_objects(PyObject* arguments, PyObject* keywords,
                                     const std::array<const char*, Count + 1>& names,
                                     const char* missing) {
    std::array<PyObject*, Count> given{};
    char format[Count + 2] = {};
    if (missing != nullptr) format[0] = '|';
    std::fill_n(format + (missing != nullptr ? 1 : 0), Count, 'O');
    const int parsed = std::apply(
        [&](auto&... object) {
            return PyArg_ParseTupleAndKeywords(arguments, keywords, format,
                                               const_cast<char**>(names.data()), &object...);
        },
        given);
    if (parsed == 0) throw PythonFailure();
    std::array<Ref, Count> objects;
    for (size_t i = 0; i < Count; ++i) {
        if (missing != nullptr && (given[i] == nullptr || given[i] == Py_None)) {
            raise_runtime_error("%s", missing);
        }
        objects[i] = share(given[i]);
    }
    return objects;
}

// The rows that a converted argument names.
template <class Form, class Value>
std::span<const int> rows_in(const Value& value) noexcept {
    if constexpr (Form::kind != kRowIndex) {
        return {};
    } else if constexpr (Form::is_array) {
        return value.elements();
    } else {
        return {&value, 1};
    }
}

// The method of a stated call. It changes the model and returns None.
template <const auto& Call>
Ref library_method(PyObject* self, PyObject* arguments, PyObject* keywords) {
    using Stated = std::remove_cvref_t<decltype(Call)>;
    const auto names = std::apply(
        [](const auto&... form) {
            return std::array<const char*, Stated::kCount + 1>{form.keyword..., nullptr};
        },
        Call.forms);
    const auto objects = parse_objects<Stated::kCount>(arguments, keywords, names, Call.missing);
    Problem* const problem = changing(self);
    [&]<size_t... I>(std::index_sequence<I...>) {
        TiedLength length;
        // Braces, so that the conversions run in the order of the arguments.
        const auto values =
            std::tuple<decltype(std::get<I>(Call.forms).convert(problem, nullptr, length))...>{
                std::get<I>(Call.forms).convert(problem, objects[I].get(), length)...};
        // A conversion may have run Python code that used the problem.
        changing(self);
        constexpr RowChange change =
            Stated::kHasColumns ? RowChange::kCoefficients : RowChange::kSides;
        (settle_rows(
             problem, change,
             rows_in<std::remove_cvref_t<decltype(std::get<I>(Call.forms))>>(std::get<I>(values))),
         ...);
        if constexpr (Stated::kHasArrays) {
            require_library(self,
                            Call.function(problem->prob, length.count(), std::get<I>(values)...));
        } else {
            require_library(self, Call.function(problem->prob, std::get<I>(values)...));
        }
    }
    (std::make_index_sequence<Stated::kCount>());
    return none();
}

}  // namespace quilex
