// Writes expression trees as formulas: lists of tokens in reverse Polish order.
//
// Sums, products, maxima and minima of many operands become balanced trees of binary operators, so
// that a formula needs a stack of logarithmic size only. Trees may be deeper than the C stack, so
// that the writer keeps the nodes it is in on a stack of its own.
#include "problem/transfer/formula_writer.hpp"

#include <qlx/codes.h>
#include <qlx/qslp.h>

#include <bit>
#include <cmath>

#include "model/linterm.hpp"
#include "model/quadterm.hpp"
#include "module/library_error.hpp"
#include "module/small_stack.hpp"
#include "nonlinear/node_internal.hpp"
#include "problem/user_functions.hpp"

namespace quilex {

namespace {

struct Token {
    int type;
    int value;
};

// The token that closes a node, by node code; a user function's value is its number.
constexpr Token kClosingTokens[kNodeOperatorCount] = {
    {QSLP_TOKEN_OPERATOR, QSLP_OPERATOR_ADD},
    {QSLP_TOKEN_OPERATOR, QSLP_OPERATOR_SUBTRACT},
    {QSLP_TOKEN_OPERATOR, QSLP_OPERATOR_NEGATE},
    {QSLP_TOKEN_OPERATOR, QSLP_OPERATOR_MULTIPLY},
    {QSLP_TOKEN_OPERATOR, QSLP_OPERATOR_DIVIDE},
    {QSLP_TOKEN_OPERATOR, QSLP_OPERATOR_POWER},
    {QSLP_TOKEN_FUNCTION, QSLP_FUNCTION_EXP},
    {QSLP_TOKEN_FUNCTION, QSLP_FUNCTION_LOG},
    {QSLP_TOKEN_FUNCTION, QSLP_FUNCTION_LOG10},
    {QSLP_TOKEN_FUNCTION, QSLP_FUNCTION_SIN},
    {QSLP_TOKEN_FUNCTION, QSLP_FUNCTION_COS},
    {QSLP_TOKEN_FUNCTION, QSLP_FUNCTION_TAN},
    {QSLP_TOKEN_FUNCTION, QSLP_FUNCTION_ASIN},
    {QSLP_TOKEN_FUNCTION, QSLP_FUNCTION_ACOS},
    {QSLP_TOKEN_FUNCTION, QSLP_FUNCTION_ATAN},
    {QSLP_TOKEN_FUNCTION, QSLP_FUNCTION_MAX},
    {QSLP_TOKEN_FUNCTION, QSLP_FUNCTION_MIN},
    {QSLP_TOKEN_FUNCTION, QSLP_FUNCTION_ABS},
    {QSLP_TOKEN_FUNCTION, QSLP_FUNCTION_SIGN},
    {QSLP_TOKEN_FUNCTION, QSLP_FUNCTION_ERF},
    {QSLP_TOKEN_FUNCTION, QSLP_FUNCTION_ERFC},
    {QSLP_TOKEN_FUNCTION, QSLP_FUNCTION_SQRT},
    {QSLP_TOKEN_USERFUNCTION, 0},
};

// A formula beyond this size is no model but a tree whose shared parts have multiplied.
constexpr size_t kMostTokens = size_t{1} << 27;

constexpr bool is_balanced(int op) noexcept {
    return op == kSum || op == kProduct || op == kMax || op == kMin;
}
constexpr bool is_extremum(int op) noexcept {
    return op == kMax || op == kMin;
}
constexpr bool is_one_argument_function(int op) noexcept {
    return op >= kExp && !is_extremum(op) && op != kUser;
}

bool is_container(PyObject* args) noexcept {
    return PyTuple_Check(args) || PyList_Check(args);
}

// How many operators follow the item at `position` when `count` items are joined by a balanced
// tree: at the end all that are missing.
int operators_after(Py_ssize_t position, Py_ssize_t count, Py_ssize_t written) noexcept {
    const Py_ssize_t done = position + 1;
    if (done == count) return static_cast<int>(count - 1 - written);
    return std::countr_zero(static_cast<size_t>(done));
}

// A node that is being written. Converting a number of the user's own type runs Python code, which
// may change the tree: the node is owned here and its operands are looked up one at a time.
struct OpenNode {
    Ref node;
    Py_ssize_t next = 0;           // place of the next operand in the container
    Py_ssize_t count = 0;          // operands that take part in the balanced tree
    Py_ssize_t values = 0;         // operands written
    Py_ssize_t operators = 0;      // operators written
    int function = 0;              // number of a user function
    Py_ssize_t extracted = -1;     // place of the product's variable that became the column
    bool skips_constants = false;  // they went into the factor

    int op() const noexcept { return as_node(node.get())->op; }
    // The place of the last operand taken, not counting the extracted one.
    Py_ssize_t position() const noexcept {
        const Py_ssize_t place = next - 1;
        return extracted >= 0 && place > extracted ? place - 1 : place;
    }
};

class FormulaWriter {
  public:
    explicit FormulaWriter(RowEntries& row) noexcept : row_(row), formulas_(row.formulas) {}

    void write(PyObject* root) {
        open(root);
        while (!open_.empty()) {
            const Ref operand = next_operand(open_.back());
            if (!operand) {
                close(open_.back());
            } else if (!is_nonlinear(operand.get())) {
                write_leaf(operand.get());
                joined(open_.back());
            } else if (is_function_of_leaf(operand.get())) {
                write_function_of_leaf(operand.get());
                joined(open_.back());
            } else {
                open(operand.get());
            }
        }
    }

    // Takes column and factor out of a product; `root` is written without them.
    void write_root(PyObject* root, int* column, double* factor) {
        if (!is_nonlinear(root) || as_node(root)->op != kProduct) {
            if (is_function_of_leaf(root)) return write_function_of_leaf(root);
            return write(root);
        }
        root_is_product_ = true;
        column_ = column;
        factor_ = factor;
        write(root);
    }

  private:
    void token(int type, double value) { formulas_.add_token(type, value); }
    void marker() { token(QSLP_TOKEN_MARKER, 0.0); }
    void oper(int value) { token(QSLP_TOKEN_OPERATOR, value); }
    void number(double value, const char* what) {
        if (!std::isfinite(value)) [[unlikely]]
            row_.raise_bad_formula(what, value);
        token(QSLP_TOKEN_CONSTANT, value);
    }
    int column_of(const Variable* variable, const char* message) const {
        const int column = row_.problem()->var_index.find(variable->index);
        if (column == IndexMap::kMissing) [[unlikely]]
            raise_runtime_error("%s", message);
        return column;
    }
    void column_of_term(const Variable* variable) {
        token(QSLP_TOKEN_COLUMN,
              column_of(variable,
                        "Variable in nonlinear expression has not been added to problem yet"));
    }
    int column_of_leaf(PyObject* variable) const {
        return column_of(
            reinterpret_cast<const Variable*>(variable),
            "Variable in nonlinear part of constraint has not been added to problem yet");
    }

    // coefficient * first, or coefficient * first * second.
    void write_term(double coefficient, const Variable* first, const Variable* second) {
        const bool scaled = coefficient != 1.0 && coefficient != -1.0;
        if (scaled) number(coefficient, "a coefficient in a formula");
        column_of_term(first);
        if (second != nullptr) {
            column_of_term(second);
            oper(QSLP_OPERATOR_MULTIPLY);
        }
        if (scaled) {
            oper(QSLP_OPERATOR_MULTIPLY);
        } else if (coefficient == -1.0) {
            oper(QSLP_OPERATOR_NEGATE);
        }
    }

    void write_expression(Expression* expression) {
        const double constant = expression_constant(expression);
        const std::span<const LinearEntry> linear = expression_linear_entries(expression);
        std::vector<QuadraticEntry> quadratic;
        if (expression_has_quadratic_part(expression))
            quadratic = expression_quadratic_entries(expression);
        const size_t constants = constant != 0.0 ? 1 : 0;
        const auto count = static_cast<Py_ssize_t>(constants + linear.size() + quadratic.size());
        if (count == 0) return number(0.0, "");
        Py_ssize_t position = 0;
        Py_ssize_t operators = 0;
        const auto part_written = [&] {
            int missing = operators_after(position++, count, operators);
            operators += missing;
            while (missing-- > 0) oper(QSLP_OPERATOR_ADD);
        };
        if (constants != 0) {
            number(constant, "a constant in a formula");
            part_written();
        }
        for (const LinearEntry& entry : linear) {
            write_term(entry.coefficient, entry.variable, nullptr);
            part_written();
        }
        for (const QuadraticEntry& entry : quadratic) {
            write_term(entry.coefficient, entry.first, entry.second);
            part_written();
        }
    }

    void write_leaf(PyObject* operand) {
        switch (classify(operand)) {
            case kConstant:
                return number(constant_value(operand), "a constant in a formula");
            case kVariable:
                return token(QSLP_TOKEN_COLUMN, column_of_leaf(operand));
            case kLinearTerm: {
                const auto* term = reinterpret_cast<LinearTerm*>(operand);
                return write_term(term->coefficient, term->variable, nullptr);
            }
            case kQuadraticTerm: {
                const auto* term = reinterpret_cast<QuadraticTerm*>(operand);
                return write_term(term->coefficient, term->first, term->second);
            }
            case kExpression:
                return write_expression(reinterpret_cast<Expression*>(operand));
            default:
                raise_runtime_error("Incorrect argument of nonlinear function");
        }
    }

    static bool is_function_of_leaf(PyObject* node) noexcept {
        PyObject* const args = as_node(node)->args;
        return is_one_argument_function(as_node(node)->op) && args != nullptr &&
               !is_nonlinear(args) && !is_container(args);
    }

    void write_function_of_leaf(PyObject* node) {
        marker();
        write_leaf(as_node(node)->args);
        const Token closing = kClosingTokens[as_node(node)->op];
        token(closing.type, closing.value);
    }

    void open(PyObject* object) {
        if (formulas_.token_count() > kMostTokens) raise_too_long();
        require_arity(object);
        OpenNode& node = open_.push_back({});
        node.node = share(object);
        const Py_ssize_t size = nonlin_arg_size(object);
        node.count = size;
        const int op = node.op();
        if (op == kUser) register_function(node);
        if (is_balanced(op)) {
            if (open_.size() == 1 && root_is_product_) extract(node);
            if (size == 0) write_empty(op);
        } else if (size != 2 && op != kNegation) {
            marker();
        }
    }

    static void require_arity(PyObject* object) {
        const int op = as_node(object)->op;
        PyObject* const args = as_node(object)->args;
        if (op < 0 || op >= kNodeOperatorCount || args == nullptr)
            raise_runtime_error("Unrecognized member of a nonlinear expression");
        const int arity = node_operators[op].arity;
        if (arity == -1 && !is_container(args))
            raise_runtime_error("N-ary operator should have list or tuple of arguments");
        if (arity == 2 && !(PyTuple_Check(args) && PyTuple_GET_SIZE(args) == 2))
            raise_runtime_error("Binary operator should have tuple for arguments");
    }

    // The value of no operands.
    void write_empty(int op) {
        if (is_extremum(op))
            raise_runtime_error("Nonlinear function %s has no arguments, needs at least one",
                                node_operators[op].symbol);
        number(op == kSum ? 0.0 : 1.0, "");
    }

    // The function itself, which is no operand, gets its number.
    void register_function(OpenNode& node) {
        PyObject* const operands = as_node(node.node.get())->args;
        if (node.count > 0 && !PyCallable_Check(nonlin_arg_at(node.node.get(), 0)))
            raise_runtime_error("First argument of a user() operator must be the function itself");
        const Ref held = share(operands);
        node.function = create_user_function(const_cast<Problem*>(row_.problem()), operands);
        node.next = 1;
    }

    [[noreturn]] static void raise_too_long() {
        raise_runtime_error("Formula too long: more than %zu tokens", kMostTokens);
    }

    void extract(OpenNode& product) {
        product.skips_constants = true;
        for (Py_ssize_t place = 0; place < nonlin_arg_size(product.node.get()); ++place) {
            const Ref item = share(nonlin_arg_at(product.node.get(), place));
            const OperandKind kind = classify(item.get());
            if (kind == kConstant) {
                *factor_ *= constant_value(item.get());
            } else if (kind == kVariable && product.extracted < 0) {
                *column_ = column_of_leaf(item.get());
                product.extracted = place;
                --product.count;
            }
        }
    }

    // The next operand that is to be written, with the markers before it; empty at the end.
    Ref next_operand(OpenNode& node) {
        while (true) {
            Ref operand = share(nonlin_arg_at(node.node.get(), node.next));
            if (!operand) return operand;
            const Py_ssize_t place = node.next++;
            if (place == node.extracted) continue;
            if (node.skips_constants && classify(operand.get()) == kConstant) continue;
            if (is_extremum(node.op())) write_markers(node.position(), node.count);
            return operand;
        }
    }

    // The markers of the binary applications that begin with the operand at this position. The
    // first operand gets one more where the count is a power of two; the library drops it.
    void write_markers(Py_ssize_t position, Py_ssize_t count) {
        const Py_ssize_t remaining = count - position;
        Py_ssize_t reach = 1;
        for (Py_ssize_t j = position; j % 2 == 0; j /= 2, reach *= 2) {
            if (position == 0 ? remaining < reach : remaining <= reach) return;
            marker();
        }
    }

    // Writes the operators that follow the operand just written.
    void joined(OpenNode& node) {
        ++node.values;
        if (!is_balanced(node.op())) return;
        // Never more than there are operands to join, whatever was skipped.
        const Py_ssize_t most = node.values - 1 - node.operators;
        Py_ssize_t following = std::min<Py_ssize_t>(
            operators_after(node.position(), node.count, node.operators), most);
        node.operators += following;
        const Token closing = kClosingTokens[node.op()];
        while (following-- > 0) token(closing.type, closing.value);
    }

    void close(const OpenNode& node) {
        const int op = node.op();
        const int value = op == kUser ? node.function : kClosingTokens[op].value;
        if (!is_balanced(op)) token(kClosingTokens[op].type, value);
        open_.pop_back();
        if (!open_.empty()) joined(open_.back());
    }

    RowEntries& row_;
    FormulaEntries& formulas_;
    static constexpr size_t kUsualDepth = 8;
    SmallStack<OpenNode, kUsualDepth> open_;
    bool root_is_product_ = false;
    int* column_ = nullptr;
    double* factor_ = nullptr;
};

// The column of coefficients without one of their own.
int formula_column(Problem* problem) {
    if (problem->formula_column == kUnreadColumn) {
        require_library(
            as_object(problem),
            QSLPgetintattrib(problem->slpprob, QSLP_ATTRIB_EQUALSCOLUMN, &problem->formula_column));
    }
    return problem->formula_column;
}

}  // namespace

void write_coefficient(PyObject* node, double sign, RowEntries& row) {
    if (row.problem()->slpprob == nullptr)
        raise_runtime_error("Nonlinear expressions need the nonlinear solver, which is off");
    constexpr int kNoColumn = -2;
    int column = kNoColumn;
    double factor = 1.0;
    FormulaEntries& formulas = row.formulas;
    FormulaWriter(row).write_root(node, &column, &factor);
    formulas.add_token(QSLP_TOKEN_END, 0.0);
    if (!std::isfinite(factor)) row.raise_bad_formula("a coefficient's factor", factor);
    if (column == kNoColumn) column = formula_column(const_cast<Problem*>(row.problem()));
    if (formulas.token_count() > kMostTokens)
        raise_runtime_error("Formula too long: more than %zu tokens", kMostTokens);
    formulas.columns.push_back(column);
    formulas.factors.push_back(sign * factor);
    formulas.starts.push_back(static_cast<int>(formulas.token_count()));
}

}  // namespace quilex
