// Helpers for the bitmap and sound tests: tags built by hand and readers
// positioned at the start of a tag body.
#pragma once

#include <memory>

#include "flio/flaRead.h"
#include "test_util.h"

namespace flio_test {

// A long-form tag: header word, 32-bit length, body.
inline Bytes LongTag(unsigned int code, const Bytes& body) {
    Bytes out;
    const unsigned int word = (code << 6) | 63u;
    out.push_back(static_cast<unsigned char>(word & 0xFF));
    out.push_back(static_cast<unsigned char>(word >> 8));
    const auto n = static_cast<unsigned int>(body.size());
    for (int i = 0; i < 4; ++i) out.push_back(static_cast<unsigned char>((n >> (8 * i)) & 0xFF));
    out.insert(out.end(), body.begin(), body.end());
    return out;
}

// A reader over the given tag bytes, with the tag's header already read.
inline std::unique_ptr<flaRead> OpenTag(const Bytes& tag) {
    auto reader = std::make_unique<flaRead>(static_cast<int>(tag.size()), tag.data());
    reader->GetTag();
    return reader;
}

// A new[] copy of the bytes, for the classes that take over their buffers.
template <typename T = unsigned char>
T* NewCopy(const Bytes& b) {
    T* p = new T[b.empty() ? 1 : b.size()];
    for (std::size_t i = 0; i < b.size(); ++i) p[i] = static_cast<T>(b[i]);
    return p;
}

}  // namespace flio_test
