// The expressions of one shape with their arrays: runs the shape's programs, block by block.
#include "engine/nlp/tape/shape_tape.hpp"

namespace qlx::nlp {

namespace {

// A block's arrays should stay in the nearest cache.
constexpr std::size_t kLargestBlock = 128;
constexpr std::size_t kSmallestBlock = 16;
constexpr std::size_t kScratchNumbers = 3000;

}  // namespace

ShapeTape::ShapeTape(const ShapeGroup& group, double* x, const std::vector<int>& place_of_part,
                     UserCalls& user)
    : count_(group.count()), x_(x), user_(&user), code_(compile(group)) {
    choose_block();
    place_arrays(group, place_of_part);
    outputs_.resize(std::max(
        {code_.value.outputs.size(), code_.first.outputs.size(), code_.second.outputs.size()}));
    for (const ShapeProgram* program : {&code_.value, &code_.first, &code_.second})
        for (const Code& step : program->codes)
            if (is_of_user(step.kind)) user.make_room(at(step.b));
}

void ShapeTape::choose_block() {
    const std::size_t arrays = code_.places.size() + 1;
    const std::size_t block =
        std::clamp(kScratchNumbers / arrays, kSmallestBlock, kLargestBlock) & ~std::size_t{7};
    block_ = std::max<std::size_t>(1, std::min(count_, block));
}

void ShapeTape::place_arrays(const ShapeGroup& group, const std::vector<int>& place_of_part) {
    const auto columns_of = [&](int slot) {
        std::vector<int> columns(count_);
        for (std::size_t k = 0; k < count_; ++k)
            columns[k] = slot < group.num_slots
                             ? group.column(k, slot)
                             : place_of_part[at(group.part(k, slot - group.num_slots))];
        return columns;
    };
    saved_.resize(at(code_.num_saved) * count_);
    weights_.resize(count_);
    gathers_.resize(at(group.num_slots + group.num_parts()));
    scratch_.resize(code_.places.size() * block_);
    places_.resize(code_.places.size());
    for (std::size_t k = 0; k < places_.size(); ++k) {
        const Place& place = code_.places[k];
        double* own = scratch_.data() + k * block_;
        places_[k] = own;
        switch (place.kind) {
            case PlaceKind::kLiteral:
                std::fill_n(own, block_, place.literal);
                break;
            case PlaceKind::kSlot:
                place_slot(columns_of(place.number), place.number, k);
                break;
            case PlaceKind::kParameter:
                advancing_.push_back({k, code_.parameters.data() + at(place.number) * count_});
                break;
            case PlaceKind::kSaved:
                advancing_.push_back({k, saved_.data() + at(place.number) * count_});
                break;
            case PlaceKind::kWeight:
                advancing_.push_back({k, weights_.data()});
                break;
            case PlaceKind::kPart:
                advancing_.push_back({k, x_ + place_of_part[at(group.expressions[0])]});
                break;
            case PlaceKind::kRegister:
                break;
        }
    }
}

void ShapeTape::place_slot(const std::vector<int>& columns, int slot, std::size_t place) {
    const auto breaks = [](int one, int next) { return next != one + 1; };
    if (std::adjacent_find(columns.begin(), columns.end(), breaks) == columns.end()) {
        advancing_.push_back({place, x_ + columns[0]});
        return;
    }
    gathers_[at(slot)] = {columns, places_[place]};
}

void ShapeTape::enter_block(const ShapeProgram& program, std::size_t first,
                            std::size_t n) noexcept {
    for (const Advancing& array : advancing_) places_[array.place] = array.start + first;
    for (const int slot : program.slots) {
        const Gather& gather = gathers_[at(slot)];
        if (gather.columns.empty()) continue;
        const int* columns = gather.columns.data() + first;
        for (std::size_t k = 0; k < n; ++k) gather.to[k] = x_[columns[k]];
    }
}

}  // namespace qlx::nlp
