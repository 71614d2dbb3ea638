// The forms of arguments that rows of the library's methods are made of. A form says what Python
// passes under its keyword, what the library's function gets for it, and what becomes of the
// function's outputs. bridge/method_call.hpp calls, in this order and for every form of a row:
//
//     convert   the Python object (null where it was not given) into what is held
//     query     the arguments of a first call that asks for sizes
//     prepare   room for what the library will fill
//     pass      the arguments of the call, as a tuple
//     finish    what the library filled into the caller's lists
#pragma once

#include <algorithm>

#include "bridge/conversion.hpp"
#include "bridge/integers.hpp"
#include "bridge/method_row.hpp"
#include "bridge/tied_length.hpp"
#include "module/library_error.hpp"
#include "module/numbers.hpp"
#include "module/text.hpp"
#include "problem/transfer/name_batch.hpp"

namespace quilex {

// What is known of one argument during a call.
struct ArgumentState {
    TiedLength length;   // of an array that the caller gave
    int64_t number = 0;  // an integer; the last element of an array of starts; a counted number;
                         // how many elements an output has
};

// One call of a method.
struct MethodCall {
    Problem* problem;
    ArgumentState* arguments;  // by the position of the form
    int first = 0;
    int last = -1;
    bool is_empty = false;  // the range was left to its default and there are no items
    int64_t range() const noexcept { return int64_t{last} - first + 1; }
};

// Where a form stands, and the forms that its size refers to.
struct Place {
    size_t own;
    size_t named;
    size_t room;
};

inline bool is_given(PyObject* object) noexcept {
    return object != nullptr && object != Py_None;
}

// Of rows (kRowIndex) or columns.
int64_t number_of_items(const Problem* problem, ElementKind kind);
// Elements of an array of the given size; throws where a number in it makes no sense.
int64_t resolve_size(const MethodCall& call, const Size& size, const Place& place);
// Checks that the range lies within the rows or columns.
void check_range(MethodCall& call, ElementKind kind, const char* empty_range);
// A text of the library; null for None and an object that was not given, where that is allowed.
Block<char> text_argument(PyObject* object, const char* keyword, bool or_none);
// An int32 that must be given as an index of Python's.
int integer_argument(PyObject* object);

// What every form has. The functions are those of a form that has nothing to do there.
struct Form {
    const char* keyword;  // also the name by which sizes refer to the form
    const char* meaning;
    Size size{};
    bool optional = false;

    static constexpr bool kHasKeyword = true;
    static constexpr bool kInRange = false;
    static constexpr bool kReturned = false;
    // Whether "missing" of the row speaks of it.
    static constexpr bool kIsArray = false;
    static constexpr ElementKind kKind = kInt32;

    constexpr Form(const char* name, const char* text) : keyword(name), meaning(text) {}
    constexpr Form(const char* name, const Size& stated, const char* text)
        : keyword(name), meaning(text), size(stated) {}

    template <class Held>
    void prepare(MethodCall&, const Place&, Held&) const noexcept {}
    template <class Held>
    void finish(MethodCall&, const Place&, Held&) const noexcept {}
};

// The same form as an argument that may be left out.
template <class Stated>
constexpr Stated optional(Stated form) {
    form.optional = true;
    return form;
}

// An array of the caller's; null for None.
template <ElementKind Kind>
struct Input : Form {
    static constexpr Part kPart = Part::kInput;
    static constexpr bool kIsArray = true;
    static constexpr ElementKind kKind = Kind;
    using Held = ConvertedArray<Kind>;
    using Form::Form;

    void convert(MethodCall& call, const Place& place, PyObject* object, Held& held) const {
        if (!is_given(object)) return;
        ArgumentState& own = call.arguments[place.own];
        TiedLength* length = &own.length;
        if (size.kind == Size::Kind::kSameAs) {
            length = &call.arguments[place.named].length;
        } else if (size.kind != Size::Kind::kAny) {
            const int64_t expected = resolve_size(call, size, place);
            // Without rows or entries nothing is looked at.
            const bool counts_entries =
                size.kind == Size::Kind::kStartsOf || size.kind == Size::Kind::kEntriesOf;
            if (counts_entries && expected <= (size.kind == Size::Kind::kStartsOf ? 1 : 0)) return;
            length->hold(expected);
        }
        int64_t found = length->value();
        held = convert_container<Kind>(call.problem, &found, object);
        length->hold(found);
        if constexpr (Kind == kInt64 || Kind == kInt32) {
            if (held.size() > 0) own.number = held.elements().back();
        }
    }
    std::tuple<Element<Kind>*> pass(Held& held) const noexcept { return {held.get()}; }
    std::tuple<Element<Kind>*> query(Held& held) const noexcept { return pass(held); }
    std::span<const Element<Kind>> items(const Held& held) const noexcept {
        return held.elements();
    }
};

// How many elements an array of the caller's has.
template <class Number>
struct Count : Form {
    static constexpr Part kPart = Part::kNumber;
    static constexpr bool kHasKeyword = false;
    using Held = Number;
    constexpr explicit Count(const char* array) : Form("", same_as(array), "") {}

    void convert(MethodCall&, const Place&, PyObject*, Held&) const noexcept {}
    // Known once all arguments are converted.
    void prepare(MethodCall& call, const Place& place, Held& held) const {
        held = call.arguments[place.named].length.template count<Number>();
    }
    std::tuple<Number> pass(Held& held) const noexcept { return {held}; }
    std::tuple<Number> query(Held& held) const noexcept { return pass(held); }
};

// How many entries an array of starts makes room for: its last element.
struct Entries : Form {
    static constexpr Part kPart = Part::kNumber;
    static constexpr bool kHasKeyword = false;
    using Held = int64_t;
    constexpr explicit Entries(const char* starts) : Form("", entries_of(starts), "") {}

    void convert(MethodCall&, const Place&, PyObject*, Held&) const noexcept {}
    void prepare(MethodCall& call, const Place& place, Held& held) const {
        held = resolve_size(call, size, place);
    }
    std::tuple<int64_t> pass(Held& held) const noexcept { return {held}; }
    std::tuple<int64_t> query(Held& held) const noexcept { return pass(held); }
};

// One value that Python passes and the library takes as it is.
template <class Value>
struct Single : Form {
    static constexpr Part kPart = Part::kInput;
    using Held = Value;
    using Form::Form;
    std::tuple<Value> pass(Held& held) const noexcept { return {held}; }
    std::tuple<Value> query(Held& held) const noexcept { return pass(held); }
};

// One row or column: its index, name or modelling object.
template <ElementKind Kind>
struct Index : Single<int> {
    static constexpr ElementKind kKind = Kind;
    using Single<int>::Single;
    void convert(MethodCall& call, const Place&, PyObject* object, int& held) const {
        held = require_index(call.problem, object, Kind);
    }
    std::span<const int> items(const int& held) const noexcept { return {&held, 1}; }
};

// The ends of a range of rows or columns, by default the first and the last of all.
template <ElementKind Kind, bool IsFirst>
struct RangeEnd : Single<int> {
    static constexpr bool kInRange = true;
    static constexpr ElementKind kKind = Kind;
    constexpr RangeEnd()
        : Single(IsFirst ? "first" : "last",
                 IsFirst ? (Kind == kRowIndex ? "the first row" : "the first column")
                         : (Kind == kRowIndex ? "the last row, included"
                                              : "the last column, included")) {}
    void convert(MethodCall& call, const Place&, PyObject* object, int& held) const {
        const bool by_default = optional && !is_given(object);
        if (by_default) {
            const int64_t items = number_of_items(call.problem, Kind);
            held = IsFirst ? 0 : static_cast<int>(items) - 1;
            if (items == 0) call.is_empty = true;
        } else {
            held = require_index(call.problem, object, Kind);
            call.is_empty = false;
        }
        (IsFirst ? call.first : call.last) = held;
    }
};
template <ElementKind Kind>
struct First : RangeEnd<Kind, true> {};
template <ElementKind Kind>
struct Last : RangeEnd<Kind, false> {};

struct Real : Single<double> {
    static constexpr ElementKind kKind = kDouble;
    using Single<double>::Single;
    void convert(MethodCall&, const Place&, PyObject* object, double& held) const {
        held = double_value(object, keyword);
    }
};

// Also names room in the caller's lists.
template <class Number = int>
struct Integer : Single<Number> {
    using Single<Number>::Single;
    void convert(MethodCall& call, const Place& place, PyObject* object, Number& held) const {
        if (PyIndex_Check(object) == 0) {
            raise(PyExc_TypeError, "%s must be int, not %.200s", this->keyword,
                  Py_TYPE(object)->tp_name);
        }
        const Ref number = require(PyNumber_Index(object));
        if constexpr (sizeof(Number) == sizeof(int64_t)) {
            held = int64_value(number.get());
        } else {
            held = int32_value(number.get());
        }
        call.arguments[place.own].number = held;
    }
};

// 1 for the object True, 0 for everything else.
struct Flag : Single<int> {
    using Single<int>::Single;
    static constexpr bool kIsTrue = true;
    void convert(MethodCall&, const Place&, PyObject* object, int& held) const noexcept {
        held = object == Py_True ? 1 : 0;
    }
};

// A text; where it is optional, null for None.
struct Text : Form {
    static constexpr Part kPart = Part::kInput;
    static constexpr ElementKind kKind = kString;
    using Held = Block<char>;
    using Form::Form;
    void convert(MethodCall&, const Place&, PyObject* object, Held& held) const {
        held = text_argument(object, keyword, optional);
    }
    std::tuple<const char*> pass(Held& held) const noexcept { return {held.get()}; }
    std::tuple<const char*> query(Held& held) const noexcept { return pass(held); }
};

// A text that has to be given; null for None.
struct TextOrNone : Text {
    using Text::Text;
    static constexpr bool kTakesNone = true;
    void convert(MethodCall&, const Place&, PyObject* object, Held& held) const {
        held = text_argument(object, keyword, true);
    }
};

// A list of the caller's that is filled in place; None where the values are not wanted.
template <ElementKind Kind>
struct Output : Form {
    static constexpr Part kPart = Part::kOutput;
    static constexpr bool kIsArray = true;
    struct Held {
        PyObject* list = nullptr;  // borrowed: an argument of the method; null: not wanted
        Block<Element<Kind>> array;
    };
    using Form::Form;
    // The kind of its elements does not make it one of the rows or columns that a call changes.
    static constexpr ElementKind kElements = Kind;

    void convert(MethodCall&, const Place&, PyObject* object, Held& held) const {
        if (!is_given(object)) return;
        if (!PyList_Check(object)) raise_runtime_error("Argument of type List required");
        held.list = object;
    }
    void prepare(MethodCall& call, const Place& place, Held& held) const {
        if (held.list == nullptr) return;
        const int64_t length = resolve_size(call, size, place);
        call.arguments[place.own].number = length;
        held.array = Block<Element<Kind>>(static_cast<size_t>(std::max<int64_t>(length, 1)));
    }
    std::tuple<Element<Kind>*> pass(Held& held) const noexcept { return {held.array.get()}; }
    std::tuple<Element<Kind>*> query(Held&) const noexcept { return {nullptr}; }
    void finish(MethodCall& call, const Place& place, Held& held) const {
        if (held.list == nullptr) return;
        int64_t count = call.arguments[place.own].number;
        if (size.room != nullptr) {
            count = std::clamp<int64_t>(call.arguments[place.room].number, 0, count);
        }
        if (conv_arr2obj(as_object(call.problem), count, held.array.get(), &held.list, Kind) != 0) {
            throw PythonFailure();
        }
    }
};

// A number that the library reports: to Python as the method's result, or only to sizes that refer
// to it (`Reported`).
template <class Number, bool IsReturned>
struct OutputNumber : Form {
    static constexpr Part kPart = Part::kNumber;
    static constexpr bool kHasKeyword = false;
    static constexpr bool kReturned = IsReturned;
    using Held = Number;
    using Value = Number;
    using Form::Form;

    void convert(MethodCall&, const Place&, PyObject*, Held&) const noexcept {}
    std::tuple<Number*> pass(Held& held) const noexcept { return {&held}; }
    std::tuple<Number*> query(Held& held) const noexcept { return {&held}; }
    void note(MethodCall& call, const Place& place, const Held& held) const noexcept {
        if constexpr (std::is_integral_v<Number>) call.arguments[place.own].number = held;
    }
    Ref result(const Held& held) const {
        if constexpr (std::is_floating_point_v<Number>) {
            return require(PyFloat_FromDouble(held));
        } else {
            return require(PyLong_FromLongLong(held));
        }
    }
};
template <class Number>
struct Reported : OutputNumber<Number, false> {
    constexpr explicit Reported(const char* name) : OutputNumber<Number, false>(name, "") {}
};
template <class Number>
struct Returned : OutputNumber<Number, true> {
    // The library is not asked, and 0 is the result, where the caller wants no list.
    bool only_with_lists = false;
    constexpr Returned(const char* name, const char* meaning)
        : OutputNumber<Number, true>(name, meaning) {}
};
template <class Number>
constexpr Returned<Number> only_with_lists(Returned<Number> form) {
    form.only_with_lists = true;
    return form;
}

// A text that the library writes into a buffer of the given size.
template <size_t Room>
struct ReturnedText : Form {
    static constexpr Part kPart = Part::kNumber;
    static constexpr bool kHasKeyword = false;
    static constexpr bool kReturned = true;
    static constexpr ElementKind kKind = kString;
    using Held = std::array<char, Room>;
    using Value = char*;
    using Form::Form;

    void convert(MethodCall&, const Place&, PyObject*, Held&) const noexcept {}
    std::tuple<char*> pass(Held& held) const noexcept { return {held.data()}; }
    std::tuple<char*> query(Held& held) const noexcept { return pass(held); }
    Ref result(const Held& held) const {
        return require(PyUnicode_DecodeUTF8(
            held.data(), static_cast<Py_ssize_t>(strnlen(held.data(), Room)), "backslashreplace"));
    }
};

// Constraint objects for the rows that the call adds: made before it, as the rows' library indices
// follow the rows that are there. Where the library refuses, they stay without an index.
struct NewRows : Form {
    static constexpr Part kPart = Part::kEffect;
    struct Held {
        Held() = default;
        Held(const Held&) = delete;
        Held& operator=(const Held&) = delete;
        ~Held();

        PyObject* names = nullptr;    // borrowed: an argument of the method
        Problem* awaiting = nullptr;  // has the constraints, the library not yet the rows
        int first = 0;
        int count = 0;
    };
    using Form::Form;
    void convert(MethodCall& call, const Place& place, PyObject* object, Held& held) const;
    void prepare(MethodCall& call, const Place& place, Held& held) const;
    std::tuple<> pass(Held&) const noexcept { return {}; }
    std::tuple<> query(Held&) const noexcept { return {}; }
    void note(MethodCall&, const Place&, Held& held) const noexcept { held.awaiting = nullptr; }
    void finish(MethodCall& call, const Place& place, Held& held) const;
};

}  // namespace quilex
