// SPDX-License-Identifier: MIT
#include "tool/line_editor.h"

#include <clocale>
#include <cstdlib>
#include <cstring>
#include <iostream>

#include <dlfcn.h>
#include <editline/readline.h>
#include <sys/stat.h>

#include "records/interrupt.h"

namespace l2vpn::tool {
namespace {

/// libedit, loaded when a session begins. The tool also runs without it.
class Library {
public:
    template <class T>
    T *find(const char *name) const {
        return handle_ == nullptr ? nullptr : reinterpret_cast<T *>(dlsym(handle_, name));
    }

private:
    void *handle_ = dlopen("libedit.so.2", RTLD_NOW);
};

const Library &library() {
    static const Library loaded;
    return loaded;
}

template <class Function, class... Arguments>
void call(const char *name, Arguments... arguments) {
    if (auto *const function = library().find<Function>(name)) {
        (void)function(arguments...);
    }
}

Completer &current_completer() {
    static Completer completer;
    return completer;
}

/// Returns one completion per call, as memory that the library frees.
char *next_completion(const char *, int state) {
    static std::vector<std::string> completions;
    static std::size_t next = 0;
    if (state == 0) {
        char **const buffer = library().find<char *>("rl_line_buffer");
        const int *const point = library().find<int>("rl_point");
        completions = current_completer()({*buffer, static_cast<std::size_t>(*point)});
        next = 0;
    }
    return next < completions.size() ? strdup(completions[next++].c_str()) : nullptr;
}

char **complete(const char *word, int, int) {
    if (int *const over = library().find<int>("rl_attempted_completion_over")) {
        *over = 1; // no file names if nothing matches
    }
    auto *const matches = library().find<decltype(rl_completion_matches)>("rl_completion_matches");
    char **const found = matches(word, &next_completion);
    int *const append = library().find<int>("rl_completion_append_character");
    if (append != nullptr && found != nullptr && found[0] != nullptr) {
        const char last = *(found[0] + std::strlen(found[0]) - 1);
        *append = last == '=' || last == '/' ? 0 : int{' '};
    }
    return found;
}

std::string history_file() {
    // NOLINTBEGIN(concurrency-mt-unsafe): there is one thread
    const char *const state = std::getenv("XDG_STATE_HOME");
    const char *const home = std::getenv("HOME");
    // NOLINTEND(concurrency-mt-unsafe)
    if (state != nullptr && *state == '/') {
        return std::string(state) + "/l2vpn-db_history";
    }
    return home == nullptr ? "" : std::string(home) + "/.l2vpn-db_history";
}

} // namespace

LineEditor::LineEditor(Completer completer) {
    // Without a UTF-8 locale, libedit drops all non-ASCII bytes.
    // NOLINTBEGIN(concurrency-mt-unsafe): there is one thread
    if (std::setlocale(LC_CTYPE, "") == nullptr || MB_CUR_MAX == 1) {
        (void)std::setlocale(LC_CTYPE, "C.UTF-8");
    }
    // NOLINTEND(concurrency-mt-unsafe)
    current_completer() = std::move(completer);
    call<decltype(rl_initialize)>("rl_initialize");
    call<decltype(using_history)>("using_history");
    call<decltype(stifle_history)>("stifle_history", 1000);
    call<decltype(read_history)>("read_history", history_file().c_str());
    if (auto *const hook = library().find<decltype(rl_attempted_completion_function)>(
            "rl_attempted_completion_function")) {
        *hook = &complete;
    }
    if (auto **const breaks = library().find<const char *>("rl_basic_word_break_characters")) {
        *breaks = " \t\n,";
    }
}

LineEditor::~LineEditor() {
    const mode_t mask = umask(077); // other users cannot read the history
    call<decltype(write_history)>("write_history", history_file().c_str());
    umask(mask);
}

std::optional<std::string> LineEditor::read(const std::string &prompt) {
    auto *const read_line = library().find<decltype(readline)>("readline");
    if (read_line == nullptr) {
        std::cout << prompt << std::flush;
        std::string line;
        const bool right = static_cast<bool>(std::getline(std::cin, line));
        std::cin.clear();
        records::check_interrupt();
        return right ? std::optional(line) : std::nullopt;
    }
    char *const read = read_line(prompt.c_str());
    records::check_interrupt();
    if (read == nullptr) {
        return std::nullopt;
    }
    std::string line = read;
    std::free(read); // NOLINT(*-no-malloc): allocated by libedit
    if (line.find_first_not_of(' ') != line.npos) {
        call<decltype(add_history)>("add_history", line.c_str());
    }
    return line;
}

} // namespace l2vpn::tool
