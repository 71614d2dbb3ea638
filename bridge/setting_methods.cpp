// Library methods about controls, attributes and messages.
#include "bridge/method_table.hpp"

namespace quilex {

namespace {

constexpr const char* kTypes = "its type quilex.type_...";

constexpr LibraryMethod kGetattribinfo{{.name = "getattribinfo",
                                        .purpose = "Get the id and type of an attribute.",
                                        .refused = "a name that none has"},
                                       QLXgetattribinfo,
                                       Text{"name", "the attribute's name, in any case"},
                                       Returned<int>{"id", "the id"},
                                       Returned<int>{"type", kTypes}};
constexpr LibraryMethod kGetcontrolinfo{{.name = "getcontrolinfo",
                                         .purpose = "Get the id and type of a control.",
                                         .refused = "a name that none has"},
                                        QLXgetcontrolinfo,
                                        Text{"name", "the control's name, in any case"},
                                        Returned<int>{"id", "the id"},
                                        Returned<int>{"type", kTypes}};
constexpr LibraryMethod kGetlasterror{
    {.name = "getlasterror", .purpose = "Get the text of the last error of the problem."},
    QLXgetlasterror,
    ReturnedText<512>{"text", "the text; empty when there was no error"}};
constexpr LibraryMethod kGetmessagestatus{
    {.name = "getmessagestatus", .purpose = "Get whether messages with a number are sent."},
    QLXgetmessagestatus,
    Integer<int>{"errcode", "the number"},
    Returned<int>{"status", "1 where they are sent, 0 where not"}};
constexpr LibraryMethod kSetlogfile{{.name = "setlogfile",
                                     .access = Access::kSets,
                                     .purpose = "Append messages to a file from now on."},
                                    QLXsetlogfile,
                                    TextOrNone{"filename", "the file; None ends it"}};
constexpr LibraryMethod kSetmessagestatus{
    {.name = "setmessagestatus",
     .access = Access::kSets,
     .purpose = "Set whether messages with a number are sent."},
    QLXsetmessagestatus,
    Integer<int>{"errcode", "the number"},
    Integer<int>{"status", "1 to send them, 0 not to"}};

}  // namespace

const LibraryMethodTable library_setting_methods =
    MethodTable<kGetattribinfo, kGetcontrolinfo, kGetlasterror, kGetmessagestatus, kSetlogfile,
                kSetmessagestatus>::named("Settings and messages");

}  // namespace quilex
