// Entry points: nonlinear coefficients.
#include <qlx/qslp.h>

#include <cmath>
#include <limits>

#include "engine/api/nonlinear_arguments.hpp"
#include "engine/api/nonlinear_boundary.hpp"
#include "engine/base/index.hpp"
#include "engine/nlp/formula/evaluator.hpp"

using namespace qlx;

namespace {

void require_factor(double factor, const char* name) {
    if (!std::isfinite(factor)) fail(QLX_ERROR_ARGUMENT, name, " is ", factor, ", must be finite");
}

std::string entry(const char* name, int index) {
    return join(name, "[", index, "]");
}

// Rows, columns and factors of single coefficients; the cheap test first, as blocks are long.
void require_places(const NonlinearProblem& p, int count, const int* rows, const int* cols) {
    const int num_rows = p.linear.model.num_rows();
    const int num_cols = p.linear.model.num_cols();
    require_array(rows, count, "rows");
    require_array(cols, count, "cols");
    for (int k = 0; k < count; ++k) {
        if (rows[k] < 0 || rows[k] >= num_rows)
            require_index(rows[k], num_rows, entry("rows", k).c_str());
        if (cols[k] < kNoColumn || cols[k] >= num_cols)
            require_coefficient_column(cols[k], num_cols, entry("cols", k).c_str());
    }
}

void require_starts(const CoefficientBlock& block) {
    require_array(block.start, std::int64_t{block.count} + 1, "start");
    if (block.start[0] < 0)
        fail(QLX_ERROR_ARGUMENT, "start[0] is ", block.start[0], ", must be at least 0");
    for (int k = 0; k < block.count; ++k)
        if (block.start[k + 1] <= block.start[k])
            fail(QLX_ERROR_ARGUMENT, "start[", k + 1, "] is ", block.start[k + 1],
                 ", must be above start[", k, "] = ", block.start[k],
                 ": a formula has at least its closing token");
    require_array(block.type, block.start[block.count], "type");
    require_array(block.value, block.start[block.count], "value");
}

void require_block(const NonlinearProblem& p, const CoefficientBlock& block, int parsed) {
    require_count(block.count, "ncoefs");
    require_parsed(parsed);
    require_places(p, block.count, block.rows, block.cols);
    for (int k = 0; block.factors != nullptr && k < block.count; ++k)
        if (!std::isfinite(block.factors[k]))
            require_factor(block.factors[k], entry("factors", k).c_str());
    if (block.count > 0) require_starts(block);
}

void append(NonlinearProblem& p, CoefficientStore& store, const CoefficientBlock& block) {
    if (block.count == 0) return;
    const BadCoefficient bad = store.append(block, p.linear.model.num_cols());
    if (bad.coefficient < 0) return;
    const int k = bad.coefficient;
    refuse_token(bad.token, block.start[k + 1], block.type, block.value,
                 join("; in the formula of coefficient ", k, ", row ", block.rows[k], ", column ",
                      block.cols[k]));
}

[[noreturn]] void refuse_missing(int row, int col, const std::string& where) {
    fail(QLX_ERROR_ARGUMENT, "row ", row, " has no coefficient in column ", col, where);
}

std::vector<std::size_t> require_terms(NonlinearProblem& p, int row, int col) {
    require_index(row, p.linear.model.num_rows(), "row");
    require_coefficient_column(col, p.linear.model.num_cols(), "col");
    std::vector<std::size_t> terms = p.coefficients.terms_of(row, col);
    if (terms.empty()) refuse_missing(row, col, "");
    return terms;
}

// Writes tokens as far as there is room, and counts them all.
class TokenList {
  public:
    TokenList(int size, int* type, double* value) : size_(size), type_(type), value_(value) {}

    void add(int type, double value) {
        if (count_ < size_ && type_ != nullptr) type_[count_] = type;
        if (count_ < size_ && value_ != nullptr) value_[count_] = value;
        ++count_;
    }
    void add(const Formula& formula) {
        const double* constant = formula.constants;
        for (std::size_t k = 0; k < formula.length; ++k) {
            int type = 0;
            double value = 0;
            token_of(formula.instructions[k], &type, &value);
            if (type == QSLP_TOKEN_CONSTANT) value = *constant++;
            add(type, value);
        }
    }
    void multiply(int times) {
        for (; times > 0; --times) add(QSLP_TOKEN_OPERATOR, QSLP_OPERATOR_MULTIPLY);
    }
    [[nodiscard]] int count() const noexcept { return count_; }

  private:
    int size_;
    int* type_;
    double* value_;
    int count_ = 0;
};

// Values that a formula leaves on the stack, which its end multiplies.
int values_left(const Formula& formula) {
    int left = 0;
    for (std::size_t k = 0; k < formula.length; ++k) left += stack_change(formula.instructions[k]);
    return left;
}

// The sum of several terms as one formula.
void add_sum(const CoefficientStore& store, const std::vector<std::size_t>& terms,
             TokenList& tokens) {
    bool first = true;
    for (const std::size_t term : terms) {
        const Formula formula = store.formula(term);
        tokens.add(QSLP_TOKEN_CONSTANT, store.factor(term));
        tokens.add(formula);
        tokens.multiply(values_left(formula));
        if (!first) tokens.add(QSLP_TOKEN_OPERATOR, QSLP_OPERATOR_ADD);
        first = false;
    }
}

}  // namespace

extern "C" {

int QSLPaddcoefs(QSLPprob prob, int ncoefs, const int* rows, const int* cols, const double* factors,
                 const int* start, int parsed, const int* type, const double* value) {
    return nonlinear_change(prob, "QSLPaddcoefs", [&](NonlinearProblem& p) {
        const CoefficientBlock block{ncoefs, rows, cols, factors, start, type, value};
        require_block(p, block, parsed);
        append(p, p.coefficients, block);
    });
}

int QSLPloadcoefs(QSLPprob prob, int ncoefs, const int* rows, const int* cols,
                  const double* factors, const int* start, int parsed, const int* type,
                  const double* value) {
    return nonlinear_change(prob, "QSLPloadcoefs", [&](NonlinearProblem& p) {
        const CoefficientBlock block{ncoefs, rows, cols, factors, start, type, value};
        require_block(p, block, parsed);
        CoefficientStore loaded;
        append(p, loaded, block);
        p.coefficients = std::move(loaded);
    });
}

int QSLPchgcoef(QSLPprob prob, int row, int col, const double* factor, int parsed, const int* type,
                const double* value) {
    return nonlinear_change(prob, "QSLPchgcoef", [&](NonlinearProblem& p) {
        std::vector<char> old(p.coefficients.num_terms(), 0);
        if (type == nullptr) {
            for (const std::size_t term : require_terms(p, row, col)) old[term] = 1;
            return p.coefficients.delete_terms(old);
        }
        require_parsed(parsed);
        require_places(p, 1, &row, &col);
        if (factor != nullptr) require_factor(*factor, "factor");
        require_array(value, 1, "value");
        int count = 0;
        while (type[count] != QSLP_TOKEN_END) ++count;
        const int start[] = {0, count + 1};
        // The new one is added first, as it may be refused.
        for (const std::size_t term : p.coefficients.terms_of(row, col)) old[term] = 1;
        append(p, p.coefficients, {1, &row, &col, factor, start, type, value});
        old.push_back(0);
        p.coefficients.delete_terms(old);
    });
}

int QSLPdelcoefs(QSLPprob prob, int ncoefs, const int* rows, const int* cols) {
    return nonlinear_change(prob, "QSLPdelcoefs", [&](NonlinearProblem& p) {
        require_count(ncoefs, "ncoefs");
        require_places(p, ncoefs, rows, cols);
        std::vector<char> marked(p.coefficients.num_terms(), 0);
        for (int k = 0; k < ncoefs; ++k) {
            bool found = false;
            for (const std::size_t term : p.coefficients.terms_of_row(rows[k])) {
                if (p.coefficients.col(term) != cols[k]) continue;
                if (marked[term] != 0)
                    fail(QLX_ERROR_ARGUMENT, "rows[", k, "] = ", rows[k], " and cols[", k,
                         "] = ", cols[k], " are given twice");
                marked[term] = 1;
                found = true;
            }
            if (!found)
                refuse_missing(rows[k], cols[k], join(" (rows[", k, "] and cols[", k, "])"));
        }
        if (ncoefs > 0) p.coefficients.delete_terms(marked);
    });
}

int QSLPgetcoefs(QSLPprob prob, int* ncoefs, int* rows, int* cols) {
    return nonlinear_read(prob, "QSLPgetcoefs", [&](NonlinearProblem& p) {
        const std::vector<std::size_t> terms = p.coefficients.first_terms();
        if (ncoefs != nullptr) *ncoefs = static_cast<int>(terms.size());
        for (std::size_t k = 0; k < terms.size(); ++k) {
            if (rows != nullptr) rows[k] = p.coefficients.row(terms[k]);
            if (cols != nullptr) cols[k] = p.coefficients.col(terms[k]);
        }
    });
}

int QSLPgetcoefformula(QSLPprob prob, int row, int col, double* factor, int parsed, int size,
                       int* ntokens, int* type, double* value) {
    return nonlinear_read(prob, "QSLPgetcoefformula", [&](NonlinearProblem& p) {
        require_parsed(parsed);
        require_count(size, "size");
        const std::vector<std::size_t> terms = require_terms(p, row, col);
        TokenList tokens(size, type, value);
        if (terms.size() == 1) {
            tokens.add(p.coefficients.formula(terms.front()));
        } else {
            add_sum(p.coefficients, terms, tokens);
        }
        tokens.add(QSLP_TOKEN_END, 0);
        if (factor != nullptr)
            *factor = terms.size() == 1 ? p.coefficients.factor(terms.front()) : 1.0;
        if (ntokens != nullptr) *ntokens = tokens.count();
    });
}

int QSLPevaluatecoef(QSLPprob prob, int row, int col, double* value) {
    return nonlinear_read(prob, "QSLPevaluatecoef", [&](NonlinearProblem& p) {
        require_array(value, 1, "value");
        std::vector<double> stack(at(p.coefficients.stack_size()));
        double sum = 0;
        for (const std::size_t term : require_terms(p, row, col))
            sum += p.coefficients.factor(term) *
                   evaluate(p.coefficients.formula(term), stack.data(),
                            [&](int column) { return p.current_value(column); });
        *value = sum;
    });
}

int QSLPevaluateformula(QSLPprob prob, int parsed, const int* type, const double* value,
                        double* result) {
    return nonlinear_read(prob, "QSLPevaluateformula", [&](NonlinearProblem& p) {
        require_parsed(parsed);
        require_array(type, 1, "type");
        require_array(value, 1, "value");
        require_array(result, 1, "result");
        FormulaArrays arrays;
        std::int64_t count = 0;
        constexpr std::int64_t kNoLimit = std::numeric_limits<std::int64_t>::max();
        const BadToken bad =
            FormulaParser(p.linear.model.num_cols()).parse(type, value, kNoLimit, arrays, &count);
        if (bad.position >= 0) refuse_token(bad, kNoLimit, type, value, "");
        std::vector<double> stack(at(arrays.stack_size));
        const Formula formula{arrays.instructions.data(), arrays.instructions.size(),
                              arrays.constants.data()};
        *result =
            evaluate(formula, stack.data(), [&](int column) { return p.current_value(column); });
    });
}

int QSLPtokencount(QSLPprob prob, const int* type, int* ntokens) {
    return nonlinear_read(prob, "QSLPtokencount", [&](NonlinearProblem&) {
        require_array(type, 1, "type");
        require_array(ntokens, 1, "ntokens");
        int count = 0;
        while (type[count] != QSLP_TOKEN_END) ++count;
        *ntokens = count + 1;
    });
}

}  // extern "C"
