// Merging of quadratic logs: replaying them as changes of a nested dictionary.
#include <algorithm>

#include "model/expression_object.hpp"

namespace quilex {

namespace {

constexpr uint32_t kNoGroup = UINT32_MAX;

bool makes_outer_entry(const QuadraticLogEntry& entry) noexcept {
    return entry.action != QuadraticAction::kSet || entry.coefficient != 0.0;
}

// The entries by outer variable: groups in the order of insertion, each in the order of the log.
struct OuterGroups {
    std::vector<size_t> starts;   // one more than groups
    std::vector<size_t> members;  // positions in the log
};

OuterGroups group_by_outer_variable(const QuadraticLog& log) {
    const QuadraticLogEntry* entries = log.entries();
    const size_t count = log.count();
    std::vector<uint32_t> group(count, kNoGroup);
    std::vector<size_t> sizes;
    const uint64_t stamp = next_merge_stamp();
    for (size_t i = 0; i < count; ++i) {
        Variable* outer = entries[i].first;
        if (outer->stamp != stamp) {
            if (!makes_outer_entry(entries[i])) continue;
            outer->stamp = stamp;
            outer->stamp_position = static_cast<uint32_t>(sizes.size());
            sizes.push_back(0);
        }
        group[i] = outer->stamp_position;
        ++sizes[group[i]];
    }
    OuterGroups groups;
    groups.starts.resize(sizes.size() + 1);
    for (size_t g = 0; g < sizes.size(); ++g) groups.starts[g + 1] = groups.starts[g] + sizes[g];
    groups.members.resize(groups.starts.back());
    std::vector<size_t> next(groups.starts.begin(), groups.starts.end() - 1);
    for (size_t i = 0; i < count; ++i) {
        if (group[i] != kNoGroup) groups.members[next[group[i]]++] = i;
    }
    return groups;
}

// The inner dictionary of one outer variable, built at the end of `result`.
class InnerDictionary {
  public:
    explicit InnerDictionary(std::vector<QuadraticLogEntry>& result)
        : result_(result), start_(result.size()), stamp_(next_merge_stamp()) {}

    void store(const QuadraticLogEntry& entry) {
        if (QuadraticLogEntry* found = find(entry)) {
            found->coefficient = entry.coefficient;
            return;
        }
        entry.second->stamp = stamp_;
        entry.second->stamp_position = static_cast<uint32_t>(result_.size() - start_);
        // Merged entries stand for what is stored, whatever stored it.
        result_.push_back({entry, QuadraticAction::kKeep});
    }

    void apply(const QuadraticLogEntry& entry) {
        QuadraticLogEntry* found = find(entry);
        const bool zero = entry.coefficient == 0.0;
        switch (entry.action) {
            case QuadraticAction::kAdd:
                if (found == nullptr) {
                    if (!zero) store(entry);
                } else if ((found->coefficient += entry.coefficient) == 0.0) {
                    remove(found);
                }
                break;
            case QuadraticAction::kKeep:
                if (found == nullptr) {
                    store(entry);
                } else if (zero) {
                    remove(found);
                } else {
                    found->coefficient += entry.coefficient;
                }
                break;
            case QuadraticAction::kSet:
                if (!zero) {
                    store(entry);
                } else if (found != nullptr) {
                    remove(found);
                }
                break;
            case QuadraticAction::kTouch:
                break;
        }
    }

    // Closes the gaps; an empty dictionary leaves a mark that its outer entry exists.
    void finish(Variable* outer) {
        const auto start = result_.begin() + static_cast<std::ptrdiff_t>(start_);
        result_.erase(std::remove_if(start, result_.end(),
                                     [](const auto& entry) { return entry.second == nullptr; }),
                      result_.end());
        if (result_.size() == start_) {
            result_.push_back({{outer, outer, 0.0}, QuadraticAction::kTouch});
        }
    }

  private:
    QuadraticLogEntry* find(const QuadraticLogEntry& entry) noexcept {
        if (entry.second->stamp != stamp_) return nullptr;
        return &result_[start_ + entry.second->stamp_position];
    }
    void remove(QuadraticLogEntry* entry) noexcept {
        entry->second->stamp = 0;
        entry->second = nullptr;
    }

    std::vector<QuadraticLogEntry>& result_;
    size_t start_;
    uint64_t stamp_;
};

std::vector<QuadraticLogEntry> replay(const QuadraticLog& log) {
    const OuterGroups groups = group_by_outer_variable(log);
    std::vector<QuadraticLogEntry> result;
    result.reserve(log.count());
    for (size_t g = 0; g + 1 < groups.starts.size(); ++g) {
        InnerDictionary inner(result);
        for (size_t k = groups.starts[g]; k < groups.starts[g + 1]; ++k) {
            const size_t position = groups.members[k];
            const QuadraticLogEntry& entry = log.entries()[position];
            if (entry.action == QuadraticAction::kTouch) continue;
            if (position < log.merged()) {
                inner.store(entry);
            } else {
                inner.apply(entry);
            }
        }
        inner.finish(log.entries()[groups.members[groups.starts[g]]].first);
    }
    return result;
}

}  // namespace

void merge_log(QuadraticLog& log) {
    const std::vector<QuadraticLogEntry> result = replay(log);
    const std::vector<QuadraticLogEntry> old(log.entries(), log.entries() + log.count());
    for (const QuadraticLogEntry& entry : result) entry.retain();
    std::copy(result.begin(), result.end(), log.mutable_entries());
    log.end_merge(result.size(), result.size());
    for (const QuadraticLogEntry& entry : old) entry.release();
}

const QuadraticLog& merged_quadratic(Expression* expression) {
    QuadraticLog& log = *expression->quadratic;
    if (log.is_merged()) return log;
    log.make_exclusive();
    merge_log(log);
    return log;
}

}  // namespace quilex
