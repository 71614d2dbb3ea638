// Entry points: nonlinear coefficients.
#include <qlx/qslp.h>

#include <limits>

#include "engine/api/nonlinear_arguments.hpp"
#include "engine/api/nonlinear_boundary.hpp"
#include "engine/base/index.hpp"
#include "engine/nlp/formula/evaluator.hpp"

using namespace qlx;

namespace {

void require_block(const NonlinearProblem& p, const CoefficientBlock& block, int parsed) {
    require_count(block.count, "ncoefs");
    require_parsed(parsed);
    if (block.count == 0) return;
    require_array(block.rows, block.count, "rows");
    require_array(block.cols, block.count, "cols");
    require_array(block.start, std::int64_t{block.count} + 1, "start");
    check_places(p.linear.model, block.count, block.rows, block.cols);
    check_factors(block);
    check_formula_starts(block);
    require_array(block.type, block.start[block.count], "type");
    require_array(block.value, block.start[block.count], "value");
}

// What formulas may name.
FormulaSymbols symbols(const NonlinearProblem& p) {
    return {p.linear.model.num_cols(), p.functions.inputs()};
}

CoefficientStore& coefficients(NonlinearProblem& p) {
    return p.linear.model.nonlinear().coefficients;
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
            if (takes_constant(formula.instructions[k].operation)) value = *constant++;
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
        append_coefficients(symbols(p), coefficients(p), block);
    });
}

int QSLPloadcoefs(QSLPprob prob, int ncoefs, const int* rows, const int* cols,
                  const double* factors, const int* start, int parsed, const int* type,
                  const double* value) {
    return nonlinear_change(prob, "QSLPloadcoefs", [&](NonlinearProblem& p) {
        const CoefficientBlock block{ncoefs, rows, cols, factors, start, type, value};
        require_block(p, block, parsed);
        CoefficientStore loaded;
        append_coefficients(symbols(p), loaded, block);
        coefficients(p) = std::move(loaded);
    });
}

int QSLPchgcoef(QSLPprob prob, int row, int col, const double* factor, int parsed, const int* type,
                const double* value) {
    return nonlinear_change(prob, "QSLPchgcoef", [&](NonlinearProblem& p) {
        Model& model = p.linear.model;
        CoefficientStore& store = coefficients(p);
        std::vector<char> old(store.num_terms(), 0);
        if (type == nullptr) {
            for (const std::size_t term : check_coefficient(model, row, col)) old[term] = 1;
            return store.delete_terms(old);
        }
        require_parsed(parsed);
        check_places(model, 1, &row, &col);
        if (factor != nullptr) check_factor(*factor, "factor");
        require_array(value, 1, "value");
        int count = 0;
        while (type[count] != QSLP_TOKEN_END) ++count;
        const int start[] = {0, count + 1};
        // The new one is added first, as it may be refused.
        for (const std::size_t term : store.terms_of(row, col)) old[term] = 1;
        append_coefficients(symbols(p), store, {1, &row, &col, factor, start, type, value});
        old.push_back(0);
        store.delete_terms(old);
    });
}

int QSLPdelcoefs(QSLPprob prob, int ncoefs, const int* rows, const int* cols) {
    return nonlinear_change(prob, "QSLPdelcoefs", [&](NonlinearProblem& p) {
        require_count(ncoefs, "ncoefs");
        require_array(rows, ncoefs, "rows");
        require_array(cols, ncoefs, "cols");
        const std::vector<char> marked = marked_coefficients(p.linear.model, ncoefs, rows, cols);
        if (ncoefs > 0) coefficients(p).delete_terms(marked);
    });
}

int QSLPgetcoefs(QSLPprob prob, int* ncoefs, int* rows, int* cols) {
    return nonlinear_read(prob, "QSLPgetcoefs", [&](NonlinearProblem& p) {
        const std::vector<std::size_t> terms = coefficients(p).first_terms();
        if (ncoefs != nullptr) *ncoefs = static_cast<int>(terms.size());
        for (std::size_t k = 0; k < terms.size(); ++k) {
            if (rows != nullptr) rows[k] = coefficients(p).row(terms[k]);
            if (cols != nullptr) cols[k] = coefficients(p).col(terms[k]);
        }
    });
}

int QSLPgetcoefformula(QSLPprob prob, int row, int col, double* factor, int parsed, int size,
                       int* ntokens, int* type, double* value) {
    return nonlinear_read(prob, "QSLPgetcoefformula", [&](NonlinearProblem& p) {
        require_parsed(parsed);
        require_count(size, "size");
        const std::vector<std::size_t> terms = check_coefficient(p.linear.model, row, col);
        TokenList tokens(size, type, value);
        if (terms.size() == 1) {
            tokens.add(coefficients(p).formula(terms.front()));
        } else {
            add_sum(coefficients(p), terms, tokens);
        }
        tokens.add(QSLP_TOKEN_END, 0);
        if (factor != nullptr)
            *factor = terms.size() == 1 ? coefficients(p).factor(terms.front()) : 1.0;
        if (ntokens != nullptr) *ntokens = tokens.count();
    });
}

int QSLPevaluatecoef(QSLPprob prob, int row, int col, double* value) {
    return nonlinear_read(prob, "QSLPevaluatecoef", [&](NonlinearProblem& p) {
        require_array(value, 1, "value");
        std::vector<double> stack(at(coefficients(p).stack_size()));
        double sum = 0;
        for (const std::size_t term : check_coefficient(p.linear.model, row, col))
            sum += coefficients(p).factor(term) *
                   evaluate(coefficients(p).formula(term), stack.data(), &p.functions,
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
        const BadToken bad = FormulaParser(symbols(p)).parse(type, value, kNoLimit, arrays, &count);
        if (bad.position >= 0) refuse_token(bad, kNoLimit, type, value, "");
        std::vector<double> stack(at(arrays.stack_size));
        const Formula formula{arrays.instructions.data(), arrays.instructions.size(),
                              arrays.constants.data()};
        *result = evaluate(formula, stack.data(), &p.functions,
                           [&](int column) { return p.current_value(column); });
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
