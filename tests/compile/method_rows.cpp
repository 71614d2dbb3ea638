// Rows of library methods: every length is that of an argument which comes before, under one name.
// REFUSED UNKNOWN_LENGTH: a size names no argument
// REFUSED LATER_LENGTH: the size of an input names a later argument
// REFUSED TWO_OF_A_NAME: two arguments have one name
// REFUSED WITHOUT_TEXTS: a method lacks its texts
#include "bridge/method_table.hpp"

namespace quilex {

namespace {

#if defined(UNKNOWN_LENGTH)
constexpr const char* kFirst = "rows";
constexpr const char* kSecond = "values";
constexpr const char* kTied = "cols";
#elif defined(LATER_LENGTH)
constexpr const char* kFirst = "rows";
constexpr const char* kSecond = "values";
constexpr const char* kTied = "values";
#elif defined(TWO_OF_A_NAME)
constexpr const char* kFirst = "rows";
constexpr const char* kSecond = "rows";
constexpr const char* kTied = "rows";
#else
constexpr const char* kFirst = "rows";
constexpr const char* kSecond = "values";
constexpr const char* kTied = "rows";
#endif

#ifdef WITHOUT_TEXTS
constexpr const char* kPurpose = nullptr;
#else
constexpr const char* kPurpose = "Set right-hand sides.";
#endif

constexpr LibraryMethod kRow{{.name = "chgrhs", .access = Access::kChanges, .purpose = kPurpose},
                             QLXchgrhs,
                             Count<int>{kFirst},
                             Input<kRowIndex>{kFirst, kAnyNumber, "the rows"},
                             Input<kDouble>{kSecond, same_as(kTied), "their right-hand sides"}};

}  // namespace

}  // namespace quilex
