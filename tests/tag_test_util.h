// Helpers for the tests of records and tags: tags built by hand, readers standing
// at the start of a tag body, the bytes a writer produces, and drawings built
// stroke by stroke.
#pragma once

#include <algorithm>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "flio/flaGeometry.h"
#include "flio/flaRead.h"
#include "test_util.h"

namespace flio_test {

// A long-form tag: header word, 32-bit length, body.
inline Bytes LongTag(unsigned int code, const Bytes& body) {
    Bytes out(6 + body.size());
    const std::uint64_t head = ((code << 6) | 63u) | (static_cast<std::uint64_t>(body.size()) << 16);
    for (int i = 0; i < 6; ++i) out[i] = static_cast<unsigned char>(head >> (8 * i));
    std::copy(body.begin(), body.end(), out.begin() + 6);
    return out;
}

// A reader over the given tag bytes, with the tag's header already read.
inline std::unique_ptr<flaRead> OpenTag(const Bytes& tag) {
    auto reader = std::make_unique<flaRead>(static_cast<int>(tag.size()), tag.data());
    reader->GetTag();
    return reader;
}

// What `write` puts in a fresh stream for a stage of the given width, as hex.
inline std::string Written(const std::function<void(flaDump&)>& write, int frameSizeX = 550) {
    flaDump dump(frameSizeX, nullptr);
    write(dump);
    return ToHex(Flushed(dump));
}

// A new[] copy of the bytes, for the classes that take over their buffers.
template <typename T = unsigned char>
T* NewCopy(const Bytes& b) {
    T* p = new T[b.empty() ? 1 : b.size()];
    std::copy(b.begin(), b.end(), p);
    return p;
}

// Adds to the layer a stroke through the points (anchor, control, anchor... when
// curved) with the given fills on either side and line.
inline void AddStroke(flaSubGeometry* sub, const std::vector<flaPoint>& points, bool curved, const flaColor* left,
                      const flaColor* right, const flaColor* line) {
    auto* stroke = new flaStroke;
    for (const flaPoint& p : points) stroke->AddPoint(p);
    sub->AddStroke(stroke, new flaStyle(curved ? flaStyle::Curved : flaStyle::Straight, left, right, line));
}

}  // namespace flio_test
