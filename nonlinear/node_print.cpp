// The text of expression trees.
#include "model/expression.hpp"
#include "model/linterm.hpp"
#include "model/quadterm.hpp"
#include "nonlinear/node_internal.hpp"

namespace quilex {

namespace {

constexpr int kPrintedDepth = 64;

// Collects the pieces of the text; joined once at the end.
class TreePrinter {
  public:
    TreePrinter() : pieces_(require(PyList_New(0))) {}

    void print(PyObject* object, int depth) {
        if (!is_nonlinear(object)) {
            print_leaf(object);
        } else if (depth < 0) {
            text("[MAX RECURS LEV]");
        } else {
            print_node(object, depth - 1);
        }
    }

    Ref joined() const {
        const Ref separator = require(PyUnicode_FromStringAndSize(nullptr, 0));
        return require(PyUnicode_Join(separator.get(), pieces_.get()));
    }

  private:
    void append(const Ref& piece) { require_status(PyList_Append(pieces_.get(), piece.get())); }
    void text(const char* characters) { append(require(PyUnicode_FromString(characters))); }

    void print_leaf(PyObject* object) {
        switch (classify(object)) {
            case kInvalid:
                if (!PyCallable_Check(object)) raise_runtime_error("Invalid object in operation");
                return text("user");
            case kVariable:
                return append_string_of(var_str(object));
            case kLinearTerm:
                return append_string_of(linterm_str(object));
            case kQuadraticTerm:
                return append_string_of(quadterm_str(object));
            case kExpression:
                return append_string_of(expression_str(object));
            default:
                return append(require(PyObject_Str(object)));
        }
    }

    // A name may be bytes, which print as their own str().
    void append_string_of(const Ref& name) { append(require(PyObject_Str(name.get()))); }

    void print_node(PyObject* node, int depth) {
        const int op = as_node(node)->op;
        if (op < 0 || op >= kNodeOperatorCount) raise_runtime_error("Invalid nonlinear expression");
        const NodeOperator& row = node_operators[op];
        const Py_ssize_t size = nonlin_arg_size(node);
        if (row.arity == 1 && size != 1) raise_runtime_error("Invalid unary nonlinear expression");
        if (row.arity == 2 && (size != 2 || !PyTuple_Check(as_node(node)->args)))
            raise_runtime_error("Invalid binary nonlinear expression");
        const std::string symbol = row.symbol;
        const bool infix = row.placement == Placement::kInfix;
        const std::string separator = infix ? " " + symbol + " " : ", ";
        text(row.placement == Placement::kPrefix ? (symbol + " (").c_str() : "(");
        Py_ssize_t cursor = 0;
        for (Ref operand = Ref::share(nonlin_arg_first(node, &cursor)); operand;
             operand = Ref::share(nonlin_arg_next(node, &cursor))) {
            if (cursor > 0) text(separator.c_str());
            print(operand.get(), depth);
        }
        text(row.placement == Placement::kPostfix ? (") " + symbol).c_str() : ")");
    }

    Ref pieces_;
};

}  // namespace

Ref nonlin_str(PyObject* a) {
    TreePrinter printer;
    printer.print(a, kPrintedDepth);
    return printer.joined();
}

}  // namespace quilex
