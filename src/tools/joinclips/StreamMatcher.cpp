#include "tools/joinclips/StreamMatcher.h"

#include <algorithm>

namespace tessarin::joining {

namespace {

using Fate = TransportPacket::Fate;

bool isListed(const StreamList& list, int number) {
  return std::any_of(list.begin(), list.end(),
                     [number](const ListedStream& stream) { return stream.number == number; });
}

bool hasAll(const StreamList& list, const StreamList& those) {
  return std::all_of(those.begin(), those.end(), [&list](const ListedStream& stream) {
    return std::find(list.begin(), list.end(), stream) != list.end();
  });
}

bool hasSound(const StreamList& list) {
  return std::any_of(list.begin(), list.end(),
                     [](const ListedStream& stream) { return stream.kind == StreamKind::sound; });
}

const ListedStream* firstPictures(const StreamList& list) {
  const auto found = std::find_if(list.begin(), list.end(), [](const ListedStream& stream) {
    return stream.kind == StreamKind::pictures;
  });
  return found != list.end() ? &*found : nullptr;
}

}  // namespace

void StreamMatcher::place(TransportPacket& packet) {
  if (tables_.add(packet))
    match(packet);
  if (first_.empty())
    return;
  const bool isOtherList = tables_.listStream() != firstListStream_;
  const int stream = packet.stream();
  if (stream == 0) {
    packet.fate = isOtherList ? Fate::dropped : Fate::kept;
    return;
  }
  const auto drop = [&packet](Fate fate) {
    packet.setStream(TransportPacket::emptyStream);
    packet.fate = fate;
  };
  if (stream == tables_.listStream()) {
    if (isOtherList || latest_ != first_)
      drop(Fate::dropped);
    return;
  }
  if (const auto found = targets_.find(stream); found == targets_.end()) {
    // A number that means something else to the reader.
    if (latest_ != first_ && (isListed(first_, stream) || stream == firstListStream_))
      drop(Fate::dropped);
  } else if (found->second.stream == TransportPacket::emptyStream) {
    drop(found->second.fate);
  } else {
    packet.setStream(found->second.stream);
    packet.fate = found->second.fate;
  }
}

void StreamMatcher::match(TransportPacket& packet) {
  const StreamList& streams = tables_.streams();
  const ListedStream* pictures = firstPictures(streams);
  if (first_.empty()) {
    if (pictures == nullptr)
      return;
    first_ = latest_ = streams;
    firstListStream_ = tables_.listStream();
    picturesCodec_ = pictures->codec;
    return;
  }
  if (streams == latest_)
    return;
  if (latest_ == first_ && hasAll(streams, first_)) {
    packet.addsSound = !hasSound(first_) && hasSound(streams);
    first_ = latest_ = streams;
    firstListStream_ = tables_.listStream();
    return;
  }
  latest_ = streams;
  targets_.clear();
  packet.changesStreams = true;
  if (latest_ != first_)
    for (const StreamKind kind : {StreamKind::pictures, StreamKind::sound, StreamKind::other})
      matchKind(kind);
  if (pictures == nullptr)
    return;
  packet.changesCodec = pictures->codec != picturesCodec_;
  picturesCodec_ = pictures->codec;
}

// What is listed as before stays, then the same codec counts, then the order.
void StreamMatcher::matchKind(StreamKind kind) {
  const auto matchThose = [&](const auto& fit) {
    for (const ListedStream& stream : latest_)
      for (const ListedStream& known : first_)
        if (stream.kind == kind && known.kind == kind && !targets_.contains(stream.number) &&
            !isTaken(known.number) && fit(stream, known))
          targets_[stream.number] = {known.number,
                                     stream.codec == known.codec ? Fate::kept : Fate::lost};
  };
  using Stream = const ListedStream&;
  matchThose([](Stream stream, Stream known) { return stream == known; });
  matchThose([](Stream stream, Stream known) { return stream.codec == known.codec; });
  if (kind == StreamKind::other)
    return;
  matchThose([](Stream, Stream) { return true; });
  bool mayBeLost = kind == StreamKind::sound && !hasSound(first_);
  for (const ListedStream& stream : latest_)
    if (stream.kind == kind && !targets_.contains(stream.number)) {
      targets_[stream.number] = {TransportPacket::emptyStream,
                                 mayBeLost ? Fate::lost : Fate::dropped};
      mayBeLost = false;
    }
}

bool StreamMatcher::isTaken(int stream) const {
  return std::any_of(targets_.begin(), targets_.end(),
                     [stream](const auto& target) { return target.second.stream == stream; });
}

}  // namespace tessarin::joining
