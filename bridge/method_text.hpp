// The documentation of the library's methods, written from their rows while the program is
// compiled: the docstring, and the line of the type stub.
#pragma once

#include "bridge/method_arguments.hpp"

namespace quilex {

// Appends to a buffer, or only counts where there is none. Long lines are broken between words.
class TextWriter {
  public:
    constexpr explicit TextWriter(char* buffer) : buffer_(buffer) {}

    template <class... Parts>
    constexpr TextWriter& add(const Parts&... parts) {
        (add_one(parts), ...);
        return *this;
    }
    // Breaks lines from now on; what follows of a broken one begins with spaces.
    constexpr void break_lines(size_t spaces) {
        is_breaking_ = true;
        indentation_ = spaces;
    }
    constexpr size_t length() const { return length_; }

  private:
    static constexpr size_t kWidth = 88;

    constexpr void put(char c) {
        if (buffer_ != nullptr) buffer_[length_] = c;
        ++length_;
        column_ = c == '\n' ? 0 : column_ + 1;
    }
    constexpr void add_one(const char* text) {
        while (*text != '\0') {
            if (*text == ' ' && breaks_before(text + 1)) {
                put('\n');
                for (size_t i = 0; i < indentation_; ++i) put(' ');
            } else {
                put(*text);
            }
            ++text;
        }
    }
    // Whether a word that begins here is to begin a new line.
    constexpr bool breaks_before(const char* word) const {
        if (!is_breaking_) return false;
        size_t end = column_ + 1;
        for (; *word != '\0' && *word != ' '; ++word) ++end;
        return end > kWidth;
    }

    char* buffer_;
    size_t length_ = 0;
    size_t column_ = 0;
    size_t indentation_ = 0;
    bool is_breaking_ = false;
};

// What Python passes, in words.
constexpr const char* input_text(ElementKind kind, bool plural) {
    switch (kind) {
        case kRowIndex:
            return plural ? "rows (indices, names or constraints)"
                          : "row (index, name or constraint)";
        case kColumnIndex:
            return plural ? "columns (indices, names or variables)"
                          : "column (index, name or variable)";
        case kDouble:
            return plural ? "floats" : "float";
        case kCharacter:
            return plural ? "letters" : "letter";
        case kString:
            return plural ? "texts" : "str";
        case kCutHandle:
            return plural ? "poolcuts" : "poolcut";
        case kLibraryObjectHandle:
            return plural ? "library objects" : "library object";
        default:
            return plural ? "ints" : "int";
    }
}
constexpr const char* output_text(ElementKind kind) {
    if (kind == kRowIndex) return "constraints";
    if (kind == kColumnIndex) return "variables";
    if (kind == kInt8) return "texts";
    return input_text(kind, true);
}

constexpr void add_size(TextWriter& text, const Size& size) {
    switch (size.kind) {
        case Size::Kind::kAny:
            break;
        case Size::Kind::kSameAs:
            text.add(", as many as ", size.name);
            break;
        case Size::Kind::kStartsOf:
            text.add(", one for each of ", size.name, " and the end");
            break;
        case Size::Kind::kEntriesOf:
            text.add(", as many as the last of ", size.name);
            break;
        case Size::Kind::kRange:
            text.add(", one for each of first .. last");
            break;
        case Size::Kind::kStartsOfRange:
            text.add(", one for each of first .. last and the end");
            break;
        case Size::Kind::kAttribute:
            text.add(", one for each ", size.attribute == QLX_ATTRIB_ROWS   ? "row"
                                        : size.attribute == QLX_ATTRIB_COLS ? "column"
                                                                            : "member of a set");
            break;
        case Size::Kind::kCounted:
            text.add(", as many as there are");
            if (size.room != nullptr) text.add(", at most ", size.room);
            break;
        case Size::Kind::kStartsOfCounted:
            text.add(", as many as there are and the end");
            break;
    }
}

// What an argument is, without its meaning.
template <class Row, class Form>
constexpr void add_argument_type(TextWriter& text, const Row& row, const Form& form) {
    constexpr bool is_output = Form::kPart == Part::kOutput;
    if constexpr (is_output) {
        text.add("list to fill with ", output_text(Form::kElements));
    } else if constexpr (Form::kPart == Part::kEffect) {
        text.add("list of texts");
    } else if constexpr (requires { Form::kIsTrue; }) {
        text.add("True or not");
    } else {
        text.add(input_text(Form::kKind, Form::kIsArray));
    }
    add_size(text, form.size);
    const bool none = (is_output && row.texts.missing == nullptr) || form.optional;
    if (none) {
        text.add(is_output        ? "; None: not wanted"
                 : Form::kInRange ? "; None: all"
                                  : "; None: not given");
    }
}

// The line from which the interpreter takes the signature.
template <class Row>
constexpr void add_call(TextWriter& text, const Row& row) {
    text.add(row.texts.name, "($self");
    std::apply(
        [&](const auto&... form) {
            const auto add = [&](const auto& one) {
                if constexpr (std::remove_cvref_t<decltype(one)>::kHasKeyword) {
                    text.add(", ", one.keyword, one.optional ? "=None" : "");
                }
            };
            (add(form), ...);
        },
        row.forms);
    text.add(")");
}

template <class Row>
constexpr void add_results(TextWriter& text, const Row& row) {
    constexpr size_t count = Row::kReturned;
    if (count == 0) return;
    text.add(count > 1 ? "\nReturns a tuple: " : "\nReturns ");
    bool is_first = true;
    const auto add = [&](const auto& form) {
        if constexpr (std::remove_cvref_t<decltype(form)>::kReturned) {
            text.add(is_first ? "" : ", ", form.meaning);
            is_first = false;
        }
        if constexpr (requires { form.only_with_lists; }) {
            if (form.only_with_lists) text.add("; 0 where no list is given");
        }
    };
    std::apply([&](const auto&... form) { (add(form), ...); }, row.forms);
    text.add(".\n");
}

template <class Row>
constexpr void add_errors(TextWriter& text, const Row& row) {
    const MethodTexts& texts = row.texts;
    if (texts.missing != nullptr || texts.empty_range != nullptr || texts.refused != nullptr) {
        text.add("\nRaises RuntimeError");
        if (texts.missing != nullptr) text.add(" \"", texts.missing, "\"");
        if (texts.empty_range != nullptr) {
            text.add(texts.missing != nullptr ? ", \"" : " \"", texts.empty_range, "\"");
        }
        if (texts.refused != nullptr) {
            const bool only = texts.missing == nullptr && texts.empty_range == nullptr;
            text.add(only ? " for " : ", and for ", texts.refused);
        }
        text.add(".\n");
    }
    text.add(texts.access == Access::kReads
                 ? "\nMay be called from events of a solve, on the thread of the event."
                 : "\nRefused from events of a solve.");
}

template <class Row>
constexpr void write_docstring(TextWriter& text, const Row& row) {
    add_call(text, row);
    text.add("\n--\n\n");
    text.break_lines(0);
    text.add(row.texts.purpose, "\n");
    if (Row::kArguments > 0) text.add("\n");
    const auto add = [&](const auto& form) {
        if constexpr (std::remove_cvref_t<decltype(form)>::kHasKeyword) {
            text.break_lines(4);
            text.add(form.keyword, " (");
            add_argument_type(text, row, form);
            text.add("): ", form.meaning, "\n");
        }
    };
    std::apply([&](const auto&... form) { (add(form), ...); }, row.forms);
    text.break_lines(0);
    add_results(text, row);
    add_errors(text, row);
}

// The type of an argument in a stub.
template <class Form>
constexpr const char* stub_type() {
    if (Form::kPart == Part::kOutput) return "list[Any]";
    if (Form::kPart == Part::kEffect) return "Sequence[str | bytes]";
    if (Form::kIsArray) return "_Array";
    if constexpr (requires { Form::kIsTrue; }) return "bool";
    switch (Form::kKind) {
        case kRowIndex:
            return "_Row";
        case kColumnIndex:
            return "_Column";
        case kDouble:
            return "float";
        case kString:
            return "str | bytes";
        default:
            return "int";
    }
}

template <class Form>
constexpr const char* stub_result() {
    if constexpr (std::is_same_v<typename Form::Value, char*>) return "str";
    return std::is_floating_point_v<typename Form::Value> ? "float" : "int";
}

template <class Row>
constexpr void write_stub(TextWriter& text, const Row& row) {
    text.add("def ", row.texts.name, "(self");
    const auto add_form = [&](const auto& form) {
        using Form = std::remove_cvref_t<decltype(form)>;
        if constexpr (Form::kHasKeyword) {
            const bool none = form.optional || requires {
                Form::kTakesNone;
            }
            || (Form::kIsArray && row.texts.missing == nullptr);
            text.add(", ", form.keyword, ": ", stub_type<Form>(), none ? " | None" : "",
                     form.optional ? " = None" : "");
        }
    };
    std::apply([&](const auto&... form) { (add_form(form), ...); }, row.forms);
    text.add(") -> ");
    if constexpr (Row::kReturned == 0) text.add("None");
    if constexpr (Row::kReturned > 1) text.add("tuple[");
    bool is_first = true;
    const auto add_result = [&](const auto& form) {
        using Form = std::remove_cvref_t<decltype(form)>;
        if constexpr (Form::kReturned) {
            text.add(is_first ? "" : ", ", stub_result<Form>());
            is_first = false;
        }
    };
    std::apply([&](const auto&... form) { (add_result(form), ...); }, row.forms);
    if constexpr (Row::kReturned > 1) text.add("]");
    text.add(": ...");
}

// A text in static storage: `Write` applied to a row.
template <const auto& Row, auto Write>
inline constexpr auto kMethodText = [] {
    constexpr size_t length = [] {
        TextWriter counted(nullptr);
        Write(counted, Row);
        return counted.length();
    }();
    std::array<char, length + 1> text{};
    TextWriter writer(text.data());
    Write(writer, Row);
    return text;
}();

template <const auto& Row>
inline constexpr const char* kDocstring =
    kMethodText<Row, write_docstring<std::remove_cvref_t<decltype(Row)>>>.data();
template <const auto& Row>
inline constexpr const char* kStubLine =
    kMethodText<Row, write_stub<std::remove_cvref_t<decltype(Row)>>>.data();

}  // namespace quilex
