// SPDX-License-Identifier: MIT
#include "bench/worker.h"

#include <csignal>
#include <cstdlib>
#include <exception>
#include <stdexcept>

#include <fmt/format.h>
#include <sys/wait.h>
#include <unistd.h>

namespace l2vpn::bench {

namespace {

/// The name of a slice; the answer is its result. Both pass through a pipe in one piece.
struct Question {
    char name[128];
};

template <class Message>
bool receive(int pipe, Message &message) {
    return ::read(pipe, &message, sizeof message) == static_cast<ssize_t>(sizeof message);
}

template <class Message>
bool send(int pipe, const Message &message) {
    return ::write(pipe, &message, sizeof message) == static_cast<ssize_t>(sizeof message);
}

/// Answers questions until there are no more.
int serve(const std::function<Slices()> &set_up, int questions, int answers) {
    try {
        Slices slices = set_up();
        Question question{};
        while (receive(questions, question) && send(answers, slices.at(question.name)())) {
        }
        return 0;
    } catch (const std::exception &error) {
        fmt::print(stderr, "l2vpn_bench: {}\n", error.what());
        return 1;
    }
}

} // namespace

Worker::Worker(const std::function<Slices()> &set_up) {
    int question[2];
    int answer[2];
    if (pipe(question) != 0 || pipe(answer) != 0)
        throw std::runtime_error("no pipe");
    process_ = fork();
    if (process_ < 0)
        throw std::runtime_error("no process");
    if (process_ == 0) {
        close(question[1]);
        close(answer[0]);
        std::_Exit(serve(set_up, question[0], answer[1]));
    }
    close(question[0]);
    close(answer[1]);
    questions_ = question[1];
    answers_ = answer[0];
}

Worker::~Worker() {
    close(questions_);
    close(answers_);
    // Workers that were started later hold copies of the pipe, so that its end is not enough.
    kill(process_, SIGTERM);
    waitpid(process_, nullptr, 0);
}

double Worker::run(const std::string &slice) {
    Question question{};
    slice.copy(question.name, sizeof question.name - 1);
    double result = 0;
    if (!send(questions_, question) || !receive(answers_, result))
        throw std::runtime_error("the process that runs '" + slice + "' has failed");
    return result;
}

} // namespace l2vpn::bench
