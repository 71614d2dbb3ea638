// Storing and finding names.
#include "engine/data/names.hpp"

#include <algorithm>
#include <cstdio>
#include <functional>

namespace qlx {

std::int64_t Names::reference(int index) const noexcept {
    if (index < run_) return -2 - (run_number_ + index * run_step_);
    const auto place = static_cast<std::size_t>(index - run_);
    return place < reference_.size() ? reference_[place] : kNone;
}

std::string_view Names::text(int index, char (&buffer)[40]) const {
    const std::int64_t reference = this->reference(index);
    if (reference >= 0) return pool_.c_str() + reference;
    const long long number = reference == kNone ? index + 1LL : -2 - reference;
    const int length = std::snprintf(buffer, sizeof buffer, "%s%lld", prefix_, number);
    return {buffer, static_cast<std::size_t>(length)};
}

std::string Names::name(int index) const {
    char buffer[40];
    return std::string(text(index, buffer));
}

void Names::insert_into_table(int index) {
    char buffer[40];
    const std::size_t mask = table_.size() - 1;
    std::size_t slot = std::hash<std::string_view>{}(text(index, buffer)) & mask;
    while (table_[slot] >= 0) slot = (slot + 1) & mask;
    table_[slot] = index;
}

void Names::grow_table(int count) {
    std::size_t size = 64;
    while (size < 2 * static_cast<std::size_t>(count)) size *= 2;
    if (size <= table_.size()) return;
    table_.assign(size, -1);
    indexed_ = 0;
}

void Names::index_up_to(int count) {
    grow_table(count);
    for (; indexed_ < count; ++indexed_) insert_into_table(indexed_);
}

int Names::find(std::string_view name, int count) {
    index_up_to(count);
    char buffer[40];
    const std::size_t mask = table_.size() - 1;
    int found = -1;
    for (std::size_t slot = std::hash<std::string_view>{}(name)&mask; table_[slot] >= 0;
         slot = (slot + 1) & mask) {
        const int index = table_[slot];
        const bool first = found < 0 || index < found;
        if (index < count && first && text(index, buffer) == name) found = index;
    }
    return found;
}

std::size_t Names::longest(int count) {
    char buffer[40];
    for (; longest_of_ < count; ++longest_of_)
        longest_ = std::max(longest_, text(longest_of_, buffer).size());
    return longest_;
}

void Names::dissolve_run() {
    std::vector<std::int64_t> all(static_cast<std::size_t>(run_) + reference_.size());
    for (std::size_t k = 0; k < all.size(); ++k) all[k] = reference(static_cast<int>(k));
    reference_ = std::move(all);
    run_ = 0;
}

void Names::put(int index, std::int64_t reference) {
    if (index < run_) dissolve_run();
    const auto place = static_cast<std::size_t>(index - run_);
    if (place >= reference_.size()) reference_.resize(place + 1, kNone);
    reference_[place] = reference;
    forget_lookups(index);
}

// After the change of a name.
void Names::forget_lookups(int index) {
    if (index < indexed_) {
        table_.clear();
        indexed_ = 0;
    }
    if (index < longest_of_) {
        longest_ = 0;
        longest_of_ = 0;
    }
}

void Names::set(int index, std::string_view name) {
    const auto offset = static_cast<std::int64_t>(pool_.size());
    pool_.append(name);
    pool_.push_back('\0');
    put(index, offset);
}

bool Names::continues_run(int index, std::int64_t number) const noexcept {
    if (index != run_ || !reference_.empty()) return false;
    return run_ < 2 || number == run_number_ + run_ * run_step_;
}

void Names::set_number(int index, std::int64_t number) {
    if (!continues_run(index, number)) {
        put(index, -2 - number);
        return;
    }
    // The first item sets the start, the second the step.
    if (run_ == 0) run_number_ = number;
    if (run_ == 1) run_step_ = number - run_number_;
    ++run_;
    forget_lookups(index);
}

void Names::delete_items(const std::vector<int>& new_index) {
    Names kept(prefix_);
    const std::size_t known = static_cast<std::size_t>(run_) + reference_.size();
    for (std::size_t k = 0; k < std::min(new_index.size(), known); ++k) {
        if (new_index[k] < 0) continue;
        const std::int64_t old = reference(static_cast<int>(k));
        if (old >= 0)
            kept.set(new_index[k], pool_.c_str() + old);
        else if (old == kNone)
            kept.put(new_index[k], kNone);
        else
            kept.set_number(new_index[k], -2 - old);
    }
    *this = std::move(kept);
}

void Names::clear() {
    *this = Names(prefix_);
}

}  // namespace qlx
