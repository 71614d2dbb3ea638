// Expressions of shapes that hardly another one has, evaluated one after the other.
#include "engine/nlp/tape/single_expressions.hpp"

#include <algorithm>

namespace qlx::nlp {

namespace {

// The group with one of its expressions alone.
ShapeGroup single(const ShapeGroup& group, std::size_t instance) {
    ShapeGroup result = group;
    result.expressions = {group.expressions[instance]};
    const auto keep = [instance](auto& list, std::size_t size) {
        const auto begin = list.begin() + static_cast<std::ptrdiff_t>(instance * size);
        list = {begin, begin + static_cast<std::ptrdiff_t>(size)};
    };
    keep(result.columns, at(group.num_slots));
    keep(result.parameters, at(group.num_parameters));
    keep(result.parts, at(group.num_parts()));
    return result;
}

}  // namespace

SingleExpressions::SingleExpressions(std::span<const ShapeGroup* const> groups,
                                     const std::vector<std::span<const ExpressionUse>>& uses,
                                     double* x, const std::vector<int>& place_of_part,
                                     UserCalls& user)
    : ExpressionSet(groups[0]->users, groups[0]->needed_by), user_(&user) {
    for (const ShapeGroup* group : groups) {
        for (std::size_t k = 0; k < group->count(); ++k) {
            const auto expression = at(group->expressions[k]);
            const std::span<const ExpressionUse> own =
                users_ == 0 ? std::span<const ExpressionUse>() : uses[expression];
            append(single(*group, k), own, x, place_of_part);
        }
    }
    point_to_numbers();
}

void SingleExpressions::append(const ShapeGroup& group, std::span<const ExpressionUse> uses,
                               double* x, const std::vector<int>& place_of_part) {
    const ShapeCode code = compile(group);
    has_kinks_ |= code.has_kinks;
    has_constant_curvature_ &= code.has_constant_curvature;
    const int base = static_cast<int>(places_.size());
    const int first_argument = static_cast<int>(arguments_.size());
    append_places(code, group, x, place_of_part);
    for (const int place : code.arguments) arguments_.push_back(base + place);
    weights_.push_back(0);

    for (const ExpressionUse& use : uses) {
        const bool is_row = use.row != kObjectiveRow;
        (is_row ? values_.row_uses : values_.objective_uses)
            .push_back({base + code.value.outputs[0], use.row, use.coefficient});
        for (std::size_t s = 0; s < code.first_slots.size(); ++s) {
            const int column = group.column(0, code.first_slots[s]);
            (is_row ? first_.row_uses : first_.objective_uses)
                .push_back({base + code.first.outputs[s], column, use.coefficient});
            if (is_row) jacobian_entries_.push_back({use.row, column});
        }
    }
    for (std::size_t s = 0; s < code.second_slots.size(); ++s) {
        const int one = group.column(0, code.second_slots[s].i);
        const int other = group.column(0, code.second_slots[s].j);
        second_.row_uses.push_back({base + code.second.outputs[s], 0, 1});
        hessian_entries_.push_back({std::max(one, other), std::min(one, other)});
    }
    append_codes(code.value, base, first_argument, values_);
    append_codes(code.first, base, first_argument, first_);
    append_codes(code.second, base, first_argument, second_);
}

void SingleExpressions::append_places(const ShapeCode& code, const ShapeGroup& group, double* x,
                                      const std::vector<int>& place_of_part) {
    const std::size_t saved = numbers_.size();
    numbers_.resize(saved + at(code.num_saved));
    registers_.resize(std::max(registers_.size(), at(code.num_registers)));
    const auto number = [&](double value) {
        numbers_.push_back(value);
        return Offset{PlaceKind::kParameter, numbers_.size() - 1};
    };
    for (const Place& place : code.places) {
        double* known = nullptr;
        Offset offset{place.kind, at(place.number)};
        if (place.kind == PlaceKind::kLiteral)
            offset = number(place.literal);
        else if (place.kind == PlaceKind::kParameter)
            offset = number(code.parameters[at(place.number)]);
        else if (place.kind == PlaceKind::kSaved)
            offset.offset += saved;
        else if (place.kind == PlaceKind::kWeight)
            offset.offset = weights_.size();
        else if (place.kind == PlaceKind::kPart)
            known = x + place_of_part[at(group.expressions[0])];
        else if (place.kind == PlaceKind::kSlot)
            known = x + (place.number < group.num_slots
                             ? group.column(0, place.number)
                             : place_of_part[at(group.part(0, place.number - group.num_slots))]);
        places_.push_back(known);
        offsets_.push_back(offset);
    }
}

void SingleExpressions::append_codes(const ShapeProgram& program, int first_place,
                                     int first_argument, Stream& stream) {
    for (Code code : program.codes) {
        code.out += first_place;
        if (is_of_user(code.kind)) {
            code.a += first_argument;
            user_->make_room(at(code.b));
        } else {
            code.a += first_place;
            if (!is_of_one(code.kind)) code.b += first_place;
            if (is_of_three(code.kind)) code.c += first_place;
        }
        stream.codes.push_back(code);
    }
    stream.steps.push_back(
        {stream.codes.size(), stream.objective_uses.size(), stream.row_uses.size()});
}

void SingleExpressions::point_to_numbers() {
    for (std::size_t k = 0; k < places_.size(); ++k) {
        if (places_[k] != nullptr) continue;
        std::vector<double>& array = offsets_[k].kind == PlaceKind::kRegister ? registers_
                                     : offsets_[k].kind == PlaceKind::kWeight ? weights_
                                                                              : numbers_;
        places_[k] = array.data() + offsets_[k].offset;
    }
    offsets_ = {};
}

void SingleExpressions::add_entries(EntryIndex& jacobian, EntryIndex& hessian) const {
    for (const Entry& entry : jacobian_entries_) jacobian.add(entry.row, entry.column);
    for (const Entry& entry : hessian_entries_) hessian.add(entry.row, entry.column);
}

void SingleExpressions::find_positions(const EntryIndex& jacobian, const EntryIndex& hessian) {
    for (std::size_t k = 0; k < jacobian_entries_.size(); ++k)
        first_.row_uses[k].to =
            jacobian.position(jacobian_entries_[k].row, jacobian_entries_[k].column);
    for (std::size_t k = 0; k < hessian_entries_.size(); ++k)
        second_.row_uses[k].to =
            hessian.position(hessian_entries_[k].row, hessian_entries_[k].column);
    jacobian_entries_ = {};
    hessian_entries_ = {};
}

void SingleExpressions::run_codes(const Stream& stream, std::size_t begin, std::size_t end) {
    nlp::run(std::span(stream.codes).subspan(begin, end - begin), arguments_.data(), places_.data(),
             1, *user_);
}

void SingleExpressions::run_values(double& objective, double* rows) {
    Step done{0, 0, 0};
    for (const Step& step : values_.steps) {
        run_codes(values_, done.code, step.code);
        for (std::size_t k = done.objective_use; k < step.objective_use; ++k)
            objective +=
                values_.objective_uses[k].factor * *places_[at(values_.objective_uses[k].place)];
        for (std::size_t k = done.row_use; k < step.row_use; ++k)
            rows[values_.row_uses[k].to] +=
                values_.row_uses[k].factor * *places_[at(values_.row_uses[k].place)];
        done = step;
    }
}

void SingleExpressions::run_first(double* gradient, double* jacobian) {
    const auto add = [this](double* to, const Use& use) {
        to[use.to] += use.factor * *places_[at(use.place)];
    };
    Step done{0, 0, 0};
    for (const Step& step : first_.steps) {
        run_codes(first_, done.code, step.code);
        if (gradient != nullptr)
            for (std::size_t k = done.objective_use; k < step.objective_use; ++k)
                add(gradient, first_.objective_uses[k]);
        if (jacobian != nullptr)
            for (std::size_t k = done.row_use; k < step.row_use; ++k)
                add(jacobian, first_.row_uses[k]);
        done = step;
    }
}

double SingleExpressions::weight(std::size_t step, double objective_factor,
                                 const double* multipliers) const {
    const Step begin = step == 0 ? Step{0, 0, 0} : values_.steps[step - 1];
    const Step& end = values_.steps[step];
    double sum = 0;
    for (std::size_t k = begin.objective_use; k < end.objective_use; ++k)
        sum += objective_factor * values_.objective_uses[k].factor;
    for (std::size_t k = begin.row_use; k < end.row_use; ++k)
        sum += multipliers[values_.row_uses[k].to] * values_.row_uses[k].factor;
    return sum;
}

void SingleExpressions::run_second(double objective_factor, const double* multipliers,
                                   bool only_weighted, double* hessian) {
    Step done{0, 0, 0};
    for (std::size_t s = 0; s < second_.steps.size(); ++s) {
        const Step& step = second_.steps[s];
        weights_[s] = weight(s, objective_factor, multipliers);
        if (step.row_use != done.row_use && !(only_weighted && weights_[s] == 0)) {
            run_codes(second_, done.code, step.code);
            for (std::size_t k = done.row_use; k < step.row_use; ++k)
                hessian[second_.row_uses[k].to] += *places_[at(second_.row_uses[k].place)];
        }
        done = step;
    }
}

}  // namespace qlx::nlp
