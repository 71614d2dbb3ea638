// The messages of one problem: where they go besides the callbacks of event message.
#pragma once

#include <cstdio>
#include <map>
#include <memory>
#include <string_view>

#include "engine/core/problem_fwd.hpp"

namespace qlx {

// Numbers of the messages that the library sends.
namespace message {
inline constexpr int kLoaded = 100;
inline constexpr int kSolveStart = 200;
inline constexpr int kProgress = 201;
inline constexpr int kSolveEnd = 202;
inline constexpr int kRecovery = 203;
inline constexpr int kNonconvex = 204;
inline constexpr int kControl = 300;
}  // namespace message

class Messages {
  public:
    // Null or empty ends the log file. Throws Error when the file cannot be opened.
    void set_log_file(const char* filename);
    [[nodiscard]] bool enabled(int number) const;
    void set_enabled(int number, bool enabled) { enabled_[number] = enabled; }
    // Whether anyone would get a message now.
    [[nodiscard]] bool wanted(const Problem& problem) const;
    // One line without a newline, to callbacks, handlers, the log file and the console.
    void send(Problem& problem, int type, int number, std::string_view text);

  private:
    struct CloseFile {
        void operator()(std::FILE* file) const noexcept { std::fclose(file); }
    };

    std::unique_ptr<std::FILE, CloseFile> file_;
    std::map<int, bool> enabled_;
};

}  // namespace qlx
