// Names of rows, columns or sets: packed texts, or numbers whose text is made when asked for.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace qlx {

class Names {
  public:
    // prefix is that of numbered names and of items without a name.
    explicit Names(const char* prefix) : prefix_(prefix) {}

    // The name of an item; an item without one is prefix and index + 1.
    [[nodiscard]] std::string name(int index) const;
    // The item with this name among the first `count`, or -1; the index is built on demand.
    [[nodiscard]] int find(std::string_view name, int count);
    // The longest name among the first `count`.
    [[nodiscard]] std::size_t longest(int count);

    void set(int index, std::string_view name);
    void set_number(int index, std::int64_t number);
    void delete_items(const std::vector<int>& new_index);
    void clear();

  private:
    static constexpr std::int64_t kNone = -1;

    // Writes a short text into buffer when the item has no stored one.
    [[nodiscard]] std::string_view text(int index, char (&buffer)[40]) const;
    [[nodiscard]] std::int64_t reference(int index) const noexcept;
    [[nodiscard]] bool continues_run(int index, std::int64_t number) const noexcept;
    void put(int index, std::int64_t reference);
    void dissolve_run();
    void forget_lookups(int index);
    void index_up_to(int count);
    void grow_table(int count);
    void insert_into_table(int index);

    const char* prefix_;
    // The leading items whose numbers lie at equal steps; most models need nothing else.
    int run_ = 0;
    std::int64_t run_number_ = 0;  // of item 0
    std::int64_t run_step_ = 0;
    // Per item behind the run: an offset into the pool, kNone, or -2 - number.
    std::vector<std::int64_t> reference_;
    std::string pool_;
    std::vector<int> table_;  // open addressing, -1 empty
    int indexed_ = 0;         // items that the table holds
    std::size_t longest_ = 0;
    int longest_of_ = 0;  // items that longest_ covers
};

}  // namespace qlx
