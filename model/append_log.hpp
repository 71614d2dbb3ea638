// An append log of coefficients, shared between an expression and the longer one made from it.
//
// Adding a term appends an entry; entries of the same variables stay apart until somebody looks
// (then merge_log replays them). The log of `e + x` is the buffer of `e` with one entry more: each
// owner sees its own prefix, and only the owner of the whole may append in place. What lies beyond
// every prefix is dropped at the next exclusive use.
#pragma once

#include "model/log_buffer.hpp"

namespace quilex {

// The log of one expression. Entry needs `retain()`, `release()` and
// `prefetch()`, which may fetch what release() touches; merge_log(log) brings a
// log that is exclusive into its merged form, worth_merging(log) guesses whether that shortens it.
template <class Entry, size_t kInline>
class AppendLog {
  public:
    using Buffer = LogBuffer<Entry>;

    // Objects that hold a log are made from raw memory.
    void start() noexcept {
        entries_ = inline_;
        count_ = 0;
        merged_ = 0;
    }

    // The same with entries that are known to be merged.
    template <class... Entries>
    void start_with(const Entries&... entries) noexcept {
        static_assert(sizeof...(Entries) <= kInline);
        entries_ = inline_;
        count_ = 0;
        ((entries.retain(), inline_[count_++] = entries), ...);
        merged_ = count_;
    }

    // Releases everything, at the end of the object.
    void finish() noexcept {
        if (is_inline()) {
            for (size_t i = 0; i < count_; ++i) inline_[i].release();
        } else {
            drop(buffer());
        }
    }

    size_t count() const noexcept { return count_; }
    const Entry* entries() const noexcept { return entries_; }
    // The number of leading entries that are known to be merged: distinct, and taken as they are.
    size_t merged() const noexcept { return merged_; }
    bool is_merged() const noexcept { return merged_ == count_; }
    void set_merged(size_t merged) noexcept { merged_ = merged; }
    bool is_inline() const noexcept { return entries_ == inline_; }
    bool is_exclusive() const noexcept { return is_inline() || buffer()->owners == 1; }

    // Makes room for `extra` entries behind the last one.
    void reserve(size_t extra) {
        if (!fits(extra)) [[unlikely]]
            make_room(extra);
    }

    // Appends an entry that fits, taking references.
    [[gnu::always_inline]] void push(const Entry& entry) noexcept {
        entry.retain();
        entries_[count_++] = entry;
        if (!is_inline()) buffer()->used = count_;
    }

    // Appends the entries that `next(i, entry)` writes, until it returns false, `most` are written
    // or the room ends. Gives their number.
    template <class Next>
    size_t push_while(size_t most, Next&& next) noexcept {
        Entry* const end = entries_ + count_;
        most = std::min(most, room());
        size_t taken = 0;
        for (; taken < most && next(taken, end[taken]); ++taken) end[taken].retain();
        count_ += taken;
        if (!is_inline()) buffer()->used = count_;
        return taken;
    }

    [[gnu::always_inline]] void append(const Entry& entry) {
        reserve(1);
        push(entry);
    }

    // Makes this new log equal to `source`, with room for `extra` entries more. Shares the buffer
    // where that is possible and `share` allows it.
    void start_from(AppendLog& source, size_t extra, bool share) {
        const size_t count = source.count_;
        start();
        if (count + extra <= kInline && source.is_inline()) [[likely]] {
            for (size_t i = 0; i < count; ++i) {
                source.inline_[i].retain();
                inline_[i] = source.inline_[i];
            }
            count_ = count;
            merged_ = source.merged_;
            return;
        }
        start_from_buffer(source, extra, share);
    }

    // Entries that may be changed in place, after make_exclusive.
    Entry* mutable_entries() noexcept {
        assert(is_inline() || (buffer()->owners == 1 && buffer()->used == count_));
        return entries_;
    }

    // Gives this log a buffer of its own that ends with its last entry.
    void make_exclusive() {
        while (!is_inline() && (buffer()->owners > 1 || buffer()->used > count_)) {
            if (buffer()->owners > 1) {
                detach(count_);
            } else {
                truncate();
            }
        }
    }

    // Ends a merge of mutable entries: [0, live) remain, the references of [live, end) are dropped.
    // The dropped variables may run Python code when they end.
    void end_merge(size_t live, size_t end) noexcept {
        count_ = live;
        merged_ = live;
        if (is_inline()) {
            Entry dropped[kInline];
            std::memcpy(dropped, inline_ + live, (end - live) * sizeof(Entry));
            for (size_t i = 0; i < end - live; ++i) dropped[i].release();
        } else {
            buffer()->used = end;
            truncate();
        }
    }

  private:
    Buffer* buffer() const noexcept { return Buffer::of(entries_); }

    bool fits(size_t extra) const noexcept {
        if (is_inline()) return count_ + extra <= kInline;
        return buffer()->used == count_ && count_ + extra <= buffer()->capacity;
    }

    // How many entries fit.
    size_t room() const noexcept {
        if (is_inline()) return kInline - count_;
        return buffer()->used == count_ ? buffer()->capacity - count_ : 0;
    }

    [[gnu::noinline]] static void drop(Buffer* buffer) noexcept {
        if (--buffer->owners > 0) return;
        constexpr size_t kAhead = 16;  // variables lie anywhere in memory
        for (size_t i = 0; i < buffer->used; ++i) {
            if (i + kAhead < buffer->used) buffer->entries()[i + kAhead].prefetch();
            buffer->entries()[i].release();
        }
        Buffer::free(buffer);
    }

    // Drops what lies beyond this log's prefix. Each step leaves the buffer whole, as a release
    // may run Python code that uses this very log.
    void truncate() noexcept {
        while (!is_inline() && buffer()->owners == 1 && buffer()->used > count_) {
            const Entry last = entries_[--buffer()->used];
            last.release();
        }
    }

    // Copies this log's prefix into a buffer of its own.
    [[gnu::noinline]] void detach(size_t needed) {
        Buffer* own = Buffer::allocate(needed);
        for (size_t i = 0; i < count_; ++i) {
            entries_[i].retain();
            own->entries()[i] = entries_[i];
        }
        own->used = count_;
        Buffer* old = buffer();
        entries_ = own->entries();
        drop(old);
    }

    [[gnu::noinline]] void start_from_buffer(AppendLog& source, size_t extra, bool share) {
        if (share && !source.is_inline()) {
            if (extra > 0 && source.buffer()->owners == 1) source.reserve(extra);
            if (!source.is_inline() && (extra == 0 || source.fits(extra))) {
                entries_ = source.entries_;
                count_ = source.count_;
                merged_ = source.merged_;
                ++buffer()->owners;
                return;
            }
        }
        const size_t count = source.count_;
        if (count + extra > kInline) {
            entries_ =
                Buffer::allocate(source.is_inline() ? count + extra : 2 * count + extra)->entries();
        }
        for (size_t i = 0; i < count; ++i) push(source.entries_[i]);
        merged_ = source.merged_;
    }

    [[gnu::noinline]] void make_room(size_t extra) {
        for (;;) {
            if (is_inline()) {
                if (count_ + extra <= kInline) return;
                Buffer* own = Buffer::allocate(count_ + extra);
                std::memcpy(static_cast<void*>(own->entries()), inline_, count_ * sizeof(Entry));
                own->used = count_;
                entries_ = own->entries();
                return;
            }
            if (fits(extra)) return;
            if (buffer()->owners > 1) {
                detach(2 * count_ + extra);
            } else if (buffer()->used > count_) {
                truncate();
            } else if (count_ - merged_ >= std::max<size_t>(merged_, 4) && worth_merging(*this)) {
                // As many unmerged entries as merged ones: merging may save the growth.
                merge_log(*this);
            } else {
                entries_ = Buffer::grow(buffer(), count_ + extra)->entries();
                return;
            }
        }
    }

    Entry* entries_;
    size_t count_;
    size_t merged_;
    Entry inline_[kInline];
};

}  // namespace quilex
