// What a row of the library's methods states: texts, the function, and its arguments in the
// function's order. bridge/method_arguments.hpp has the forms of arguments, bridge/method_call.hpp
// runs a row, bridge/method_text.hpp documents it.
//
//     constexpr LibraryMethod kGetrhs{{.name = "getrhs",
//                                      .purpose = "Get the right-hand sides of rows.",
//                                      .missing = "Must provide argument: rhs or range",
//                                      .empty_range = "Empty range of rows requested"},
//                                     QLXgetrhs,
//                                     Output<kDouble>{"rhs", kPerItemOfRange, "right-hand sides"},
//                                     First<kRowIndex>{},
//                                     Last<kRowIndex>{}};
#pragma once

#include <qlx/codes.h>

#include <array>
#include <string_view>
#include <tuple>

#include "bridge/element_kinds.hpp"

namespace quilex {

// How many elements an array has.
struct Size {
    enum class Kind {
        kAny,              // as many as the caller gives
        kSameAs,           // as many as the array `name`
        kStartsOf,         // one for each element of the array `name`, and the end of the last
        kEntriesOf,        // as many as the last element of the array of starts `name` says
        kRange,            // one for each of first .. last
        kStartsOfRange,    // one more
        kAttribute,        // the value of an integer attribute
        kCounted,          // what the library says through the number `name`
        kStartsOfCounted,  // one more
    };
    Kind kind = Kind::kAny;
    const char* name = nullptr;
    int attribute = 0;
    // The argument that says how many elements the caller has room for; null: for all.
    const char* room = nullptr;

    // Whether a first call, without arrays, has to find it out.
    constexpr bool needs_query() const noexcept {
        return kind == Kind::kCounted || kind == Kind::kStartsOfCounted;
    }
};

inline constexpr Size kAnyNumber{};
inline constexpr Size kPerItemOfRange{.kind = Size::Kind::kRange};
inline constexpr Size kStartsOfRange{.kind = Size::Kind::kStartsOfRange};
inline constexpr Size kPerColumn{.kind = Size::Kind::kAttribute, .attribute = QLX_ATTRIB_COLS};
inline constexpr Size kPerRow{.kind = Size::Kind::kAttribute, .attribute = QLX_ATTRIB_ROWS};
constexpr Size same_as(const char* name) {
    return {.kind = Size::Kind::kSameAs, .name = name};
}
constexpr Size starts_of(const char* name) {
    return {.kind = Size::Kind::kStartsOf, .name = name};
}
constexpr Size entries_of(const char* name) {
    return {.kind = Size::Kind::kEntriesOf, .name = name};
}
constexpr Size counted(const char* name, const char* room = nullptr) {
    return {.kind = Size::Kind::kCounted, .name = name, .room = room};
}
constexpr Size starts_of_counted(const char* name) {
    return {.kind = Size::Kind::kStartsOfCounted, .name = name};
}

// What a method does to the problem, which also says when it may be called.
enum class Access {
    kReads,    // leaves everything alone: also from events
    kSets,     // changes settings: refused while the problem is being solved
    kChanges,  // changes the model, which drops the results: refused likewise
};

struct MethodTexts {
    const char* name = nullptr;
    Access access = Access::kReads;
    // One sentence that begins with a verb, and what else is to be said.
    const char* purpose = nullptr;
    // The RuntimeError for an array that is not given or None; null: Python's own error when it is
    // not given, and None stands for no array.
    const char* missing = nullptr;
    // The RuntimeError where last is before first; null leaves it to the library.
    const char* empty_range = nullptr;
    // What the library refuses beside indices out of range and unknown names; null: nothing.
    const char* refused = nullptr;
};

// The parts that a form plays in a call; bridge/method_arguments.hpp.
enum class Part { kInput, kOutput, kNumber, kEffect };

template <class Function, class... Forms>
struct LibraryMethod {
    constexpr LibraryMethod(const MethodTexts& stated, Function* called, Forms... in_order)
        : texts(stated), function(called), forms(in_order...) {
        check_names();
    }

    MethodTexts texts;
    // Takes the handle, then what the forms pass; its result is a status.
    Function* function;
    std::tuple<Forms...> forms;

    static constexpr size_t kForms = sizeof...(Forms);
    static constexpr size_t kArguments = (size_t{Forms::kHasKeyword} + ... + 0);
    static constexpr size_t kReturned = (size_t{Forms::kReturned} + ... + 0);
    static constexpr bool kHasRange = (Forms::kInRange || ... || false);
    static constexpr bool kHasOutputs = ((Forms::kPart == Part::kOutput) || ... || false);
    // A function of rows and columns changes coefficients, one of rows alone their sides.
    static constexpr bool kHasColumns = ((Forms::kKind == kColumnIndex) || ... || false);

    // The position of a form by its name; kForms when there is none.
    constexpr size_t position(const char* name) const {
        size_t found = kForms;
        size_t i = 0;
        std::apply(
            [&](const auto&... form) {
                ((name != nullptr && std::string_view(form.keyword) == name ? void(found = i)
                                                                            : void(),
                  ++i),
                 ...);
            },
            forms);
        return found;
    }

  private:
    // Fails the compilation where two forms have one name, where a size names no form, or where the
    // method lacks its texts.
    constexpr void check_names() const {
        std::array<std::string_view, kForms + 1> names;
        size_t known = 0;
        const auto check = [&](const auto& form) {
            for (size_t i = 0; i < known && *form.keyword != '\0'; ++i) {
                if (names[i] == form.keyword) throw "two arguments have one name";
            }
            for (const char* name : {form.size.name, form.size.room}) {
                if (name != nullptr && position(name) == kForms) throw "a size names no argument";
            }
            // Arguments are converted in their order.
            if (form.kPart == Part::kInput && form.size.name != nullptr &&
                position(form.size.name) >= known) {
                throw "the size of an input names a later argument";
            }
            names[known++] = form.keyword;
        };
        std::apply([&](const auto&... form) { (check(form), ...); }, forms);
        if (texts.name == nullptr || texts.purpose == nullptr) throw "a method lacks its texts";
    }
};

}  // namespace quilex
