// SPDX-License-Identifier: MIT
#include "bench/redis_table.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <thread>

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace l2vpn::bench {

namespace {

/// Starts a server that dies with this process and listens only on a socket in the folder.
int start_server(const std::string &folder) {
    const std::string socket = folder + "/socket";
    const int server = fork();
    if (server < 0)
        throw std::runtime_error("cannot start a process for Redis");
    if (server == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        execlp("redis-server", "redis-server", "--port", "0", "--unixsocket", socket.c_str(),
               "--save", "", "--appendonly", "no", "--dir", folder.c_str(), "--logfile",
               "/dev/null", static_cast<char *>(nullptr));
        std::_Exit(127);
    }
    return server;
}

} // namespace

RedisTable::RedisTable() {
    char folder[] = "/tmp/l2vpn_bench.XXXXXX";
    if (mkdtemp(folder) == nullptr)
        throw std::runtime_error("cannot write to /tmp");
    server_ = start_server(folder);
    const std::string socket = std::string(folder) + "/socket";
    for (int tries = 0; connection_ == nullptr || connection_->err != 0; ++tries) {
        if (tries == 100)
            throw std::runtime_error("Redis does not accept connections");
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        redisFree(connection_);
        connection_ = redisConnectUnix(socket.c_str());
    }
    std::filesystem::remove_all(folder); // the connection stays open
}

RedisTable::~RedisTable() {
    redisFree(connection_);
    kill(server_, SIGKILL);
    waitpid(server_, nullptr, 0);
}

void RedisTable::queue_insert(const PackedRecord &record) {
    const PackedKey &primary = record.keys[0];
    redisAppendCommand(connection_, "MULTI");
    redisAppendCommand(connection_, "SET 0%b %b", primary.bytes, std::size_t{primary.length},
                       record.bytes, stored_length);
    for (int k = 1; k < 6; ++k)
        redisAppendCommand(connection_, "SADD %d%b %b", k, record.keys[k].bytes,
                           std::size_t{record.keys[k].length}, primary.bytes,
                           std::size_t{primary.length});
    redisAppendCommand(connection_, "EXEC");
    pending_ += 8;
}

void RedisTable::finish() {
    for (; pending_ > 0; --pending_)
        freeReplyObject(reply());
}

void RedisTable::queue_read(const PackedKey &key) {
    redisAppendCommand(connection_, "GET 0%b", key.bytes, std::size_t{key.length});
}

void RedisTable::finish_read(char *record) {
    redisReply *const found = reply();
    expect(found->type == REDIS_REPLY_STRING && found->len == stored_length);
    std::memcpy(record, found->str, stored_length);
    freeReplyObject(found);
}

void RedisTable::expect(bool ok) const {
    if (!ok)
        throw std::runtime_error(std::string("Redis: ") + connection_->errstr);
}

redisReply *RedisTable::reply() {
    void *result = nullptr;
    expect(redisGetReply(connection_, &result) == REDIS_OK);
    auto *const answer = static_cast<redisReply *>(result);
    if (answer->type == REDIS_REPLY_ERROR)
        throw std::runtime_error(std::string("Redis: ") + answer->str);
    return answer;
}

} // namespace l2vpn::bench
