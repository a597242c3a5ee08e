// SPDX-License-Identifier: MIT
#include "bench/serializers.h"

#include <stdexcept>

#include <capnp/message.h>

#include "codecs.h"

namespace l2vpn::bench {

void flatbuffers_round_trip(const L2vpnVplsPw &record, L2vpnVplsPw &result) {
    static flatbuffers::FlatBufferBuilder buffer;
    buffer.Clear();
    flat::RecordBuilder builder(buffer);
    encode(record, builder);
    buffer.Finish(builder.Finish());
    decode(*flat::GetRecord(buffer.GetBufferPointer()), result);
}

/// Reads the message in place, from its only segment.
void capnproto_round_trip(const L2vpnVplsPw &record, L2vpnVplsPw &result) {
    static capnp::word memory[128] = {};
    capnp::MallocMessageBuilder message(kj::arrayPtr(memory, 128));
    encode(record, message.initRoot<capn::Record>());
    capnp::SegmentArrayMessageReader reader(message.getSegmentsForOutput());
    decode(reader.getRoot<capn::Record>(), result);
}

void protobuf_round_trip(const L2vpnVplsPw &record, L2vpnVplsPw &result) {
    static proto::Record written;
    static proto::Record read;
    char bytes[1024];
    encode(record, written);
    const std::size_t length = written.ByteSizeLong();
    if (length > sizeof bytes)
        throw std::length_error("an encoded record exceeds the buffer");
    written.SerializeWithCachedSizesToArray(reinterpret_cast<std::uint8_t *>(bytes));
    if (!read.ParseFromArray(bytes, static_cast<int>(length)))
        throw std::runtime_error("Protocol Buffers cannot parse its own output");
    decode(read, result);
}

} // namespace l2vpn::bench
