// The expressions of one shape with their arrays: runs the shape's programs, block by block.
#include "engine/nlp/tape/shape_tape.hpp"

namespace qlx::nlp {

namespace {

// A block's arrays should stay in the nearest cache.
constexpr std::size_t kLargestBlock = 128;
constexpr std::size_t kSmallestBlock = 16;
constexpr std::size_t kScratchNumbers = 3000;

}  // namespace

ShapeTape::ShapeTape(const ShapeGroup& group, const double* x, UserCalls& user)
    : users_(group.users), count_(group.count()), x_(x), user_(&user), code_(compile(group)) {
    choose_block();
    place_arrays(group);
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

void ShapeTape::place_arrays(const ShapeGroup& group) {
    saved_.resize(at(code_.num_saved) * count_);
    weights_.resize(count_);
    gathers_.resize(at(group.num_slots));
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
                place_slot(group, place.number, k);
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
            case PlaceKind::kRegister:
                break;
        }
    }
}

void ShapeTape::place_slot(const ShapeGroup& group, int slot, std::size_t place) {
    const int first = group.column(0, slot);
    bool follows = true;
    for (std::size_t k = 1; k < count_ && follows; ++k)
        follows = group.column(k, slot) == first + static_cast<int>(k);
    if (follows) {
        // Places are not const; nothing writes to a slot.
        advancing_.push_back({place, const_cast<double*>(x_) + first});
        return;
    }
    Gather& gather = gathers_[at(slot)];
    gather.to = places_[place];
    for (std::size_t k = 0; k < count_; ++k) gather.columns.push_back(group.column(k, slot));
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
