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

/// Names a slice; the reply is its result. Both are smaller than PIPE_BUF, so that writes are
/// atomic.
struct Request {
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

/// Serves requests until the pipe is closed.
int serve(const std::function<Slices()> &set_up, int requests, int results) {
    try {
        Slices slices = set_up();
        Request request{};
        while (receive(requests, request) && send(results, slices.at(request.name)())) {
        }
        return 0;
    } catch (const std::exception &error) {
        fmt::print(stderr, "l2vpn_bench: {}\n", error.what());
        return 1;
    }
}

} // namespace

Worker::Worker(const std::function<Slices()> &set_up) {
    int request_pipe[2];
    int result_pipe[2];
    if (pipe(request_pipe) != 0 || pipe(result_pipe) != 0)
        throw std::runtime_error("cannot create a pipe");
    process_ = fork();
    if (process_ < 0)
        throw std::runtime_error("cannot start a process");
    if (process_ == 0) {
        close(request_pipe[1]);
        close(result_pipe[0]);
        std::_Exit(serve(set_up, request_pipe[0], result_pipe[1]));
    }
    close(request_pipe[0]);
    close(result_pipe[1]);
    requests_ = request_pipe[1];
    results_ = result_pipe[0];
}

Worker::~Worker() {
    close(requests_);
    close(results_);
    // Closing the pipe is not enough: workers started later inherited its ends.
    kill(process_, SIGTERM);
    waitpid(process_, nullptr, 0);
}

double Worker::run(const std::string &slice) {
    Request request{};
    slice.copy(request.name, sizeof request.name - 1);
    double result = 0;
    if (!send(requests_, request) || !receive(results_, result))
        throw std::runtime_error("the process that runs '" + slice + "' has failed");
    return result;
}

} // namespace l2vpn::bench
