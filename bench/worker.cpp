// SPDX-License-Identifier: MIT
#include "bench/worker.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <exception>
#include <numeric>
#include <random>
#include <stdexcept>

#include <fmt/format.h>
#include <sys/wait.h>
#include <unistd.h>

namespace l2vpn::bench {

namespace {

/// The name of a round; the answer is its result. Both pass through a pipe in one piece.
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
int serve(const std::function<Rounds()> &set_up, int questions, int answers) {
    try {
        Rounds rounds = set_up();
        Question question{};
        while (receive(questions, question) && send(answers, rounds.at(question.name)())) {
        }
        return 0;
    } catch (const std::exception &error) {
        fmt::print(stderr, "l2vpn_bench: {}\n", error.what());
        return 1;
    }
}

} // namespace

Worker::Worker(const std::function<Rounds()> &set_up) {
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

double Worker::run(const std::string &round) {
    Question question{};
    round.copy(question.name, sizeof question.name - 1);
    double result = 0;
    if (!send(questions_, question) || !receive(answers_, result))
        throw std::runtime_error("the process that runs '" + round + "' has failed");
    return result;
}

std::vector<std::vector<double>> interleave(const std::vector<Variant> &variants, int count) {
    std::vector<std::vector<double>> results(variants.size());
    std::vector<std::size_t> order(variants.size());
    std::iota(order.begin(), order.end(), 0U);
    std::mt19937 random(1); // NOLINT(cert-msc32-c,cert-msc51-cpp): the same in each run
    for (int n = 0; n < count; ++n) {
        std::shuffle(order.begin(), order.end(), random);
        for (const std::size_t v : order)
            results[v].push_back(variants[v].worker->run(variants[v].round));
    }
    return results;
}

double median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

std::vector<double> medians(const std::vector<Variant> &variants, int count) {
    std::vector<double> result;
    for (std::vector<double> &values : interleave(variants, count))
        result.push_back(median(std::move(values)));
    return result;
}

} // namespace l2vpn::bench
