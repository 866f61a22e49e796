// Helpers shared by the unit tests.
#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>

#include <cctype>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "flio/flaDump.h"

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

}  // namespace flio_test
