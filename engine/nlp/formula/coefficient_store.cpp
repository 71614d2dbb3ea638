// The nonlinear coefficients of a problem: factor * column * formula, added to a row.
#include "engine/nlp/formula/coefficient_store.hpp"
#include "engine/base/index.hpp"

#include <algorithm>

namespace qlx {

namespace {

// Room for `more` elements, growing geometrically.
template <class T>
void make_room(std::vector<T>& values, std::size_t more) {
    const std::size_t needed = values.size() + more;
    if (needed > values.capacity()) values.reserve(std::max(needed, 2 * values.capacity()));
}

}  // namespace

Formula CoefficientStore::formula(std::size_t term) const noexcept {
    const std::size_t first = instruction_start_[term];
    return {arrays_.instructions.data() + first, instruction_start_[term + 1] - first,
            arrays_.constants.data() + constant_start_[term]};
}

BadCoefficient CoefficientStore::append(const CoefficientBlock& block,
                                        const FormulaSymbols& symbols) {
    const std::size_t old_terms = num_terms();
    const std::size_t old_instructions = arrays_.instructions.size();
    const std::size_t old_constants = arrays_.constants.size();
    const int old_stack = arrays_.stack_size;
    const auto undo = [&] {
        arrays_.instructions.resize(old_instructions);
        arrays_.constants.resize(old_constants);
        arrays_.stack_size = old_stack;
        instruction_start_.resize(old_terms + 1);
        constant_start_.resize(old_terms + 1);
    };
    FormulaParser parser(symbols);
    const auto added = at(block.count);
    try {
        for (std::vector<int>* array : {&rows_, &cols_}) make_room(*array, added);
        make_room(factors_, added);
        for (auto* array : {&instruction_start_, &constant_start_}) make_room(*array, added);
        make_room(arrays_.instructions, at(block.start[block.count]));
        for (int k = 0; k < block.count; ++k) {
            const int first = block.start[k];
            const std::int64_t length = block.start[k + 1] - first;
            std::int64_t count = 0;
            BadToken bad =
                parser.parse(block.type + first, block.value + first, length, arrays_, &count);
            if (bad.position < 0 && count < length)
                bad = {count, "the formula has ended before this token"};
            if (bad.position >= 0) {
                undo();
                bad.position += first;
                return {k, std::move(bad)};
            }
            instruction_start_.push_back(arrays_.instructions.size());
            constant_start_.push_back(arrays_.constants.size());
        }
    } catch (...) {
        undo();
        throw;
    }
    append_terms(block);  // there is room
    return {-1, {}};
}

void CoefficientStore::append_terms(const CoefficientBlock& block) {
    rows_.insert(rows_.end(), block.rows, block.rows + block.count);
    cols_.insert(cols_.end(), block.cols, block.cols + block.count);
    if (block.factors != nullptr) {
        factors_.insert(factors_.end(), block.factors, block.factors + block.count);
    } else {
        factors_.resize(rows_.size(), 1.0);
    }
    forget_index();
}

void CoefficientStore::clear() {
    *this = CoefficientStore();
}

void CoefficientStore::delete_terms(const std::vector<char>& marked) {
    std::size_t kept = 0;
    std::size_t instructions = 0;
    std::size_t constants = 0;
    const auto move_down = [](auto& values, std::size_t first, std::size_t last, std::size_t to) {
        std::copy(values.begin() + static_cast<std::ptrdiff_t>(first),
                  values.begin() + static_cast<std::ptrdiff_t>(last),
                  values.begin() + static_cast<std::ptrdiff_t>(to));
        return to + (last - first);
    };
    std::size_t first_instruction = 0;  // of the term, before anything moved
    std::size_t first_constant = 0;
    for (std::size_t term = 0; term < marked.size(); ++term) {
        const std::size_t end_instruction = instruction_start_[term + 1];
        const std::size_t end_constant = constant_start_[term + 1];
        if (marked[term] == 0) {
            rows_[kept] = rows_[term];
            cols_[kept] = cols_[term];
            factors_[kept] = factors_[term];
            instructions =
                move_down(arrays_.instructions, first_instruction, end_instruction, instructions);
            constants = move_down(arrays_.constants, first_constant, end_constant, constants);
            ++kept;
            instruction_start_[kept] = instructions;
            constant_start_[kept] = constants;
        }
        first_instruction = end_instruction;
        first_constant = end_constant;
    }
    rows_.resize(kept);
    cols_.resize(kept);
    factors_.resize(kept);
    instruction_start_.resize(kept + 1);
    constant_start_.resize(kept + 1);
    arrays_.instructions.resize(instructions);
    arrays_.constants.resize(constants);
    forget_index();
}

void CoefficientStore::delete_rows(const std::vector<int>& new_index) {
    if (num_terms() == 0) return;
    std::vector<char> marked(num_terms());
    for (std::size_t term = 0; term < num_terms(); ++term) {
        int& row = rows_[term];
        marked[term] = static_cast<char>(new_index[at(row)] < 0);
        row = new_index[at(row)];
    }
    delete_terms(marked);
}

void CoefficientStore::delete_columns(const std::vector<int>& new_index) {
    for (int& col : cols_)
        if (col != kNoColumn) col = new_index[at(col)];
    for (Instruction& instruction : arrays_.instructions)
        if (instruction.operation == Operation::kColumn)
            instruction.argument = new_index[at(instruction.argument)];
}

std::size_t CoefficientStore::term_with_deleted_column(const std::vector<int>& new_index,
                                                       int* col) const {
    const auto goes = [&](int column) {
        if (new_index[at(column)] >= 0) return false;
        *col = column;
        return true;
    };
    for (std::size_t term = 0; term < num_terms(); ++term) {
        if (cols_[term] != kNoColumn && goes(cols_[term])) return term;
        const Formula own = formula(term);
        for (std::size_t k = 0; k < own.length; ++k) {
            const Instruction instruction = own.instructions[k];
            if (instruction.operation == Operation::kColumn && goes(instruction.argument))
                return term;
        }
    }
    return num_terms();
}

// A counting sort, so that the terms of a row stay in their order.
void CoefficientStore::index_rows() {
    if (!row_start_.empty()) return;
    const int last = rows_.empty() ? 0 : *std::max_element(rows_.begin(), rows_.end());
    std::vector<std::size_t> start(at(last) + 2, 0);
    for (const int row : rows_) ++start[at(row) + 1];
    for (std::size_t row = 1; row < start.size(); ++row) start[row] += start[row - 1];
    by_row_.resize(num_terms());
    std::vector<std::size_t> next = start;
    for (std::size_t term = 0; term < num_terms(); ++term) by_row_[next[at(rows_[term])]++] = term;
    row_start_ = std::move(start);
}

std::span<const std::size_t> CoefficientStore::terms_of_row(int row) {
    index_rows();
    if (at(row) + 1 >= row_start_.size()) return {};
    const std::size_t first = row_start_[at(row)];
    return std::span(by_row_).subspan(first, row_start_[at(row) + 1] - first);
}

std::vector<std::size_t> CoefficientStore::terms_of(int row, int col) {
    std::vector<std::size_t> terms;
    for (const std::size_t term : terms_of_row(row))
        if (cols_[term] == col) terms.push_back(term);
    return terms;
}

std::vector<std::size_t> CoefficientStore::first_terms() {
    index_rows();
    std::vector<std::size_t> result;
    const int last = cols_.empty() ? kNoColumn : *std::max_element(cols_.begin(), cols_.end());
    std::vector<int> row_seen_with(at(last + 1) + 1, -1);  // by column, kNoColumn first
    for (const std::size_t term : by_row_) {
        int& seen = row_seen_with[at(cols_[term] + 1)];
        if (seen == rows_[term]) continue;
        seen = rows_[term];
        result.push_back(term);
    }
    return result;
}

}  // namespace qlx
