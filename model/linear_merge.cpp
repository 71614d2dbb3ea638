// Merging of linear logs: replaying an append log as additions to a dictionary.
//
// The result is bit for bit, and entry for entry, that of adding one term after the other to a
// dictionary that keeps its order of insertion and deletes an entry when its sum is exactly 0.0.
#include <cmath>
#include <random>

#include "model/expression_object.hpp"

namespace quilex {

namespace {

// Up to this many entries a double loop beats the stamps, which touch every variable.
constexpr size_t kDoubleLoopLimit = 12;
constexpr size_t kPrefetchDistance = 8;
constexpr size_t kAbsent = SIZE_MAX;

// Larger logs are sampled before they are merged to save growth.
constexpr size_t kSampleFrom = 4096;

// A deleted entry keeps its place, and one reference, until the end of the merge.
bool is_deleted(const LinearLogEntry& entry) noexcept {
    return (reinterpret_cast<uintptr_t>(entry.variable) & 1) != 0;
}
void toggle_deleted(LinearLogEntry& entry) noexcept {
    entry.variable = reinterpret_cast<Variable*>(reinterpret_cast<uintptr_t>(entry.variable) ^ 1);
}

// Finds earlier entries of a variable by looking at all of them.
struct LoopIndex {
    const LinearLogEntry* entries;
    size_t find(const Variable* variable, size_t end) const noexcept {
        for (size_t i = 0; i < end; ++i) {
            if (entries[i].variable == variable) return i;
        }
        return kAbsent;
    }
    void insert(Variable*, size_t) const noexcept {}
    void remove(Variable*) const noexcept {}
    void prefetch(size_t, size_t) const noexcept {}
};

// Finds them by a mark left in the variable itself.
struct StampIndex {
    const LinearLogEntry* entries;
    uint64_t stamp;
    size_t find(const Variable* variable, size_t) const noexcept {
        return variable->stamp == stamp ? variable->stamp_position : kAbsent;
    }
    void insert(Variable* variable, size_t position) const noexcept {
        variable->stamp = stamp;
        variable->stamp_position = static_cast<uint32_t>(position);
    }
    void remove(Variable* variable) const noexcept { variable->stamp = 0; }
    void prefetch(size_t position, size_t end) const noexcept {
        if (position + kPrefetchDistance < end) {
            __builtin_prefetch(&entries[position + kPrefetchDistance].variable->stamp, 1);
        }
    }
};

template <class Index>
bool has_duplicates(const LinearLog& log, const Index& index) noexcept {
    const LinearLogEntry* entries = log.entries();
    const size_t count = log.count();
    for (size_t i = 0; i < log.merged(); ++i) {
        index.prefetch(i, count);
        index.insert(entries[i].variable, i);
    }
    for (size_t i = log.merged(); i < count; ++i) {
        index.prefetch(i, count);
        if (index.find(entries[i].variable, i) != kAbsent) return true;
        index.insert(entries[i].variable, i);
    }
    return false;
}

// Returns the end of the entries that still hold references, deleted ones among them.
template <class Index>
size_t replay(LinearLogEntry* entries, size_t merged, size_t count, const Index& index) noexcept {
    for (size_t i = 0; i < merged; ++i) {
        index.prefetch(i, count);
        index.insert(entries[i].variable, i);
    }
    size_t end = merged;
    for (size_t i = merged; i < count; ++i) {
        index.prefetch(i, count);
        const LinearLogEntry entry = entries[i];
        const size_t earlier = index.find(entry.variable, end);
        if (earlier == kAbsent) {
            index.insert(entry.variable, end);
            entries[end++] = entry;
            continue;
        }
        entries[earlier].coefficient += entry.coefficient;
        if (entries[earlier].coefficient == 0.0) {
            index.remove(entry.variable);
            toggle_deleted(entries[earlier]);
        }
        entry.release();  // never the last reference: the earlier entry has one
    }
    return end;
}

// Moves the deleted entries behind the others; returns the number of the others.
size_t separate_deleted(LinearLogEntry* entries, size_t end) noexcept {
    size_t live = 0;
    for (size_t i = 0; i < end; ++i) {
        if (is_deleted(entries[i])) continue;
        if (i != live) std::swap(entries[i], entries[live]);
        ++live;
    }
    for (size_t i = live; i < end; ++i) toggle_deleted(entries[i]);
    return live;
}

}  // namespace

uint64_t next_merge_stamp() noexcept {
    static uint64_t last = 0;
    return ++last;
}

// Birthday paradox: if every variable occurs twice in n entries, a sample of 4 sqrt(n) of them has
// about 16 pairs; if none does, it has none.
bool worth_merging(const LinearLog& log) noexcept {
    const size_t count = log.count();
    if (count < kSampleFrom || count > UINT32_MAX) return true;
    const auto sample = static_cast<size_t>(4.0 * std::sqrt(static_cast<double>(count)));
    const StampIndex index{log.entries(), next_merge_stamp()};
    std::minstd_rand random;
    for (size_t i = 0; i < sample; ++i) {
        const size_t position = random() % count;
        Variable* variable = log.entries()[position].variable;
        const size_t earlier = index.find(variable, count);
        if (earlier != kAbsent && earlier != position) return true;
        index.insert(variable, position);
    }
    return false;
}

void merge_log(LinearLog& log) noexcept {
    LinearLogEntry* entries = log.mutable_entries();
    const size_t count = log.count();
    const size_t end =
        count <= kDoubleLoopLimit || count > UINT32_MAX
            ? replay(entries, log.merged(), count, LoopIndex{entries})
            : replay(entries, log.merged(), count, StampIndex{entries, next_merge_stamp()});
    log.end_merge(separate_deleted(entries, end), end);
}

const LinearLog& merge_linear(Expression* expression) {
    LinearLog& log = expression->linear;
    const bool small = log.count() <= kDoubleLoopLimit;
    // Looking first costs little in a small log, and a shared one must not be written.
    if (small || !log.is_exclusive()) {
        const bool duplicates =
            small ? has_duplicates(log, LoopIndex{log.entries()})
                  : has_duplicates(log, StampIndex{log.entries(), next_merge_stamp()});
        if (!duplicates) {
            log.set_merged(log.count());
            return log;
        }
    }
    log.make_exclusive();
    merge_log(log);
    return log;
}

}  // namespace quilex
