// Helpers shared by the unit tests: a directory per run, hex, tags built by hand,
// readers standing at the start of a tag body, the bytes a writer produces, and
// drawings built stroke by stroke.
#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "flio/flaDump.h"
#include "flio/flaGeometry.h"
#include "flio/flaRead.h"

namespace flio_test {

// A directory of this test process's own (ending in '/'), made on first use below
// the temporary folder and removed with its contents when the process ends, so
// that runs that overlap never write the same file.
inline const std::string& RunDir() {
    static const struct Dir {
        std::string path;
        Dir() {
            std::string pattern = testing::TempDir() + "flio-test-XXXXXX";
            if (!mkdtemp(pattern.data()))
                throw std::runtime_error("cannot make a directory below " + testing::TempDir());
            path = pattern + "/";
        }
        ~Dir() {
            std::error_code ec;
            std::filesystem::remove_all(path, ec);
        }
    } dir;
    return dir.path;
}

using Bytes = std::vector<unsigned char>;

// "E0 AB" -> {0xE0, 0xAB}; anything but hex digits is ignored.
inline Bytes Hex(const std::string& text) {
    std::string digits;
    for (char c : text)
        if (std::isxdigit(static_cast<unsigned char>(c))) digits += c;
    Bytes out;
    for (std::size_t i = 0; i + 1 < digits.size(); i += 2)
        out.push_back(static_cast<unsigned char>(std::stoi(digits.substr(i, 2), nullptr, 16)));
    return out;
}

inline std::string ToHex(const Bytes& b) {
    static const char* digits = "0123456789ABCDEF";
    std::string s;
    for (std::size_t i = 0; i < b.size(); ++i) {
        if (i) s += ' ';
        s += digits[b[i] >> 4];
        s += digits[b[i] & 15];
    }
    return s;
}

// The committed bytes of a stream, with any pending bits flushed.
inline Bytes Flushed(flaDump& dump) {
    dump.PadLastByte();
    return dump.GetBuffer();
}

// Counts the bits reported per cost code.
class CountingCallback : public flaDump::SizeCallback {
public:
    void AddBits(unsigned int costCode, int bitCount) override {
        if (costCode >= bits.size()) bits.resize(costCode + 1, 0);
        bits[costCode] += bitCount;
    }
    std::vector<long long> bits;
    long long Total() const {
        long long t = 0;
        for (long long b : bits) t += b;
        return t;
    }
};

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
