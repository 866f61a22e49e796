// Helpers for the bitmap and sound tests: tags built by hand, readers positioned
// at the start of a tag body, and the bytes a writer produces.
#pragma once

#include <algorithm>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

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

// What `write` puts in a fresh stream, as hex.
inline std::string Written(const std::function<void(flaDump&)>& write) {
    flaDump dump(550, nullptr);
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

}  // namespace flio_test
