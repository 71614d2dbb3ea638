// Runs the rows of the library's methods (bridge/method_row.hpp): one function for each, which the
// interpreter calls.
#pragma once

#include "bridge/method_arguments.hpp"
#include "module/boundary.hpp"
#include "problem/access.hpp"
#include "problem/row_gate.hpp"

namespace quilex {

// What the conversion of one row needs to know of it, by the position of its forms.
template <const auto& Row>
class MethodRun {
    using Stated = std::remove_cvref_t<decltype(Row)>;
    static constexpr size_t kForms = Stated::kForms;

    template <size_t I>
    static constexpr const auto& form() {
        return std::get<I>(Row.forms);
    }
    template <size_t I>
    using FormAt = std::remove_cvref_t<decltype(std::get<I>(Row.forms))>;
    template <size_t I>
    static constexpr Place kPlace{I, Row.position(form<I>().size.name),
                                  Row.position(form<I>().size.room)};

    // Calls action.operator()<I>() for every form, in order.
    template <class Action>
    static void for_each(Action&& action) {
        [&]<size_t... I>(std::index_sequence<I...>) {
            (action.template operator()<I>(), ...);
        }
        (std::make_index_sequence<kForms>());
    }

  public:
    MethodRun(PyObject* self, PyObject* arguments, PyObject* keywords) : self_(self) {
        parse(arguments, keywords);
        access();
        call_.problem = reinterpret_cast<Problem*>(self);
        call_.arguments = states_.data();
    }

    Ref run() {
        convert();
        // A conversion may have run Python code that used the problem.
        access();
        if constexpr (Row.texts.access == Access::kChanges) settle();
        if (!is_call_needed()) {
            // Of a range without items nothing is asked, but the lists show it.
            if (call_.is_empty) {
                prepare<true>();
                finish();
            }
            return result();
        }
        prepare<false>();
        if constexpr (kHasQuery) {
            if (is_query_needed()) call_library<true>();
        }
        prepare<true>();
        call_library<false>();
        finish();
        return result();
    }

  private:
    static constexpr bool kHasQuery = std::apply(
        [](const auto&... form) { return (form.size.needs_query() || ... || false); }, Row.forms);

    void access() {
        if constexpr (Row.texts.access == Access::kChanges) {
            changing(self_);
        } else {
            reading(self_);
        }
    }

    // By position or keyword. The references are held, as conversions may run any Python code.
    void parse(PyObject* arguments, PyObject* keywords) {
        std::array<PyObject*, Stated::kArguments> given{};
        std::array<const char*, Stated::kArguments + 1> names{};
        size_t count = 0;
        for_each([&]<size_t I>() {
            if constexpr (FormAt<I>::kHasKeyword) names[count++] = form<I>().keyword;
        });
        static constexpr auto kFormat = [] {
            std::array<char, Stated::kArguments + 64> text{};
            size_t end = 0;
            text[end++] = '|';
            for (size_t i = 0; i < Stated::kArguments; ++i) text[end++] = 'O';
            text[end++] = ':';
            for (const char* c = Row.texts.name; *c != '\0'; ++c) text[end++] = *c;
            return text;
        }();
        const int parsed = std::apply(
            [&](auto&... object) {
                return PyArg_ParseTupleAndKeywords(arguments, keywords, kFormat.data(),
                                                   const_cast<char**>(names.data()), &object...);
            },
            given);
        if (parsed == 0) throw PythonFailure();
        size_t next = 0;
        for_each([&]<size_t I>() {
            if constexpr (FormAt<I>::kHasKeyword) objects_[I] = share(given[next++]);
        });
        check_given();
    }

    void check_given() const {
        int position = 0;
        for_each([&]<size_t I>() {
            if constexpr (Row.texts.missing != nullptr && FormAt<I>::kIsArray &&
                          !form<I>().optional) {
                if (!is_given(objects_[I].get())) raise_runtime_error("%s", Row.texts.missing);
            }
        });
        for_each([&]<size_t I>() {
            if constexpr (FormAt<I>::kHasKeyword) {
                ++position;
                if (!form<I>().optional && !objects_[I]) {
                    raise(PyExc_TypeError, "%s() missing required argument '%s' (pos %d)",
                          Row.texts.name, form<I>().keyword, position);
                }
            }
        });
    }

    void convert() {
        for_each([&]<size_t I>() {
            form<I>().convert(call_, kPlace<I>, objects_[I].get(), std::get<I>(held_));
        });
        if constexpr (Stated::kHasRange) {
            for_each([&]<size_t I>() {
                if constexpr (FormAt<I>::kInRange) kind_of_range_ = FormAt<I>::kKind;
            });
            check_range(call_, kind_of_range_, Row.texts.empty_range);
        }
    }

    // The constraints of rows that are about to change become independent of them.
    void settle() {
        for_each([&]<size_t I>() {
            if constexpr (FormAt<I>::kKind == kRowIndex) {
                settle_rows(call_.problem,
                            Stated::kHasColumns ? RowChange::kCoefficients : RowChange::kSides,
                            form<I>().items(std::get<I>(held_)));
            }
        });
    }

    bool is_call_needed() const {
        if (call_.is_empty) return false;
        bool needed = !Stated::kHasOutputs;
        for_each([&]<size_t I>() {
            if constexpr (FormAt<I>::kPart == Part::kOutput) {
                needed = needed || std::get<I>(held_).list != nullptr;
            } else if constexpr (requires { form<I>().only_with_lists; }) {
                needed = needed || !form<I>().only_with_lists;
            } else if constexpr (FormAt<I>::kReturned) {
                needed = true;
            }
        });
        return needed;
    }

    bool is_query_needed() const {
        bool needed = false;
        for_each([&]<size_t I>() {
            if constexpr (FormAt<I>::kPart == Part::kOutput && form<I>().size.needs_query()) {
                needed = needed || std::get<I>(held_).list != nullptr;
            }
        });
        return needed;
    }

    template <bool Outputs>
    void prepare() {
        for_each([&]<size_t I>() {
            if constexpr ((FormAt<I>::kPart == Part::kOutput) == Outputs) {
                form<I>().prepare(call_, kPlace<I>, std::get<I>(held_));
            }
        });
    }

    template <bool IsQuery>
    void call_library() {
        const auto arguments = [&]<size_t... I>(std::index_sequence<I...>) {
            if constexpr (IsQuery) {
                return std::tuple_cat(std::tuple<QLXprob>(call_.problem->prob),
                                      form<I>().query(std::get<I>(held_))...);
            } else {
                return std::tuple_cat(std::tuple<QLXprob>(call_.problem->prob),
                                      form<I>().pass(std::get<I>(held_))...);
            }
        }
        (std::make_index_sequence<kForms>());
        require_library(self_, std::apply(*Row.function, arguments));
        for_each([&]<size_t I>() {
            if constexpr (requires { form<I>().note(call_, kPlace<I>, std::get<I>(held_)); }) {
                form<I>().note(call_, kPlace<I>, std::get<I>(held_));
            }
        });
    }

    void finish() {
        for_each([&]<size_t I>() { form<I>().finish(call_, kPlace<I>, std::get<I>(held_)); });
    }

    // None, the one value that is returned, or a tuple of them.
    Ref result() {
        std::array<Ref, std::max<size_t>(Stated::kReturned, 1)> values;
        size_t count = 0;
        for_each([&]<size_t I>() {
            if constexpr (FormAt<I>::kReturned) {
                values[count++] = form<I>().result(std::get<I>(held_));
            }
        });
        if (count == 0) return none();
        if (count == 1) return std::move(values[0]);
        Ref tuple = require(PyTuple_New(static_cast<Py_ssize_t>(count)));
        for (size_t i = 0; i < count; ++i) {
            PyTuple_SET_ITEM(tuple.get(), static_cast<Py_ssize_t>(i), values[i].release());
        }
        return tuple;
    }

    template <class... Forms>
    static std::tuple<typename Forms::Held...> held_of(const std::tuple<Forms...>&);

    PyObject* self_;
    std::array<Ref, std::max<size_t>(kForms, 1)> objects_;  // by position; null: not given
    std::array<ArgumentState, std::max<size_t>(kForms, 1)> states_{};
    decltype(held_of(Row.forms)) held_{};
    MethodCall call_{};
    ElementKind kind_of_range_ = kRowIndex;
};

template <const auto& Row>
Ref library_method(PyObject* self, PyObject* arguments, PyObject* keywords) {
    return MethodRun<Row>(self, arguments, keywords).run();
}

}  // namespace quilex
