// SPDX-License-Identifier: MIT
#include "bench/serializers.h"

#include <stdexcept>

#include <capnp/message.h>

#include "fill.h"

namespace l2vpn::bench {

void flatbuffers_round_trip(const L2vpnVplsPw &record, L2vpnVplsPw &result) {
    static flatbuffers::FlatBufferBuilder buffer;
    buffer.Clear();
    flat::RecordBuilder builder(buffer);
    fill(record, builder);
    buffer.Finish(builder.Finish());
    fill(*flat::GetRecord(buffer.GetBufferPointer()), result);
}

/// What is encoded is read where it was written, in one segment.
void capnproto_round_trip(const L2vpnVplsPw &record, L2vpnVplsPw &result) {
    static capnp::word memory[128] = {};
    capnp::MallocMessageBuilder message(kj::arrayPtr(memory, 128));
    fill(record, message.initRoot<capn::Record>());
    capnp::SegmentArrayMessageReader reader(message.getSegmentsForOutput());
    fill(reader.getRoot<capn::Record>(), result);
}

void protobuf_round_trip(const L2vpnVplsPw &record, L2vpnVplsPw &result) {
    static proto::Record written;
    static proto::Record read;
    char bytes[1024];
    fill(record, written);
    const std::size_t length = written.ByteSizeLong();
    if (length > sizeof bytes)
        throw std::length_error("a record is longer than expected");
    written.SerializeWithCachedSizesToArray(reinterpret_cast<std::uint8_t *>(bytes));
    if (!read.ParseFromArray(bytes, static_cast<int>(length)))
        throw std::runtime_error("Protocol Buffers does not read what it has written");
    fill(read, result);
}

} // namespace l2vpn::bench
