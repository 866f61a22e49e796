// UT_String: the host base library's wide string. Text is held as UTF-16 code
// units; it is built from narrow (Latin-1) or UTF-8 text and converts back to UTF-8.
#pragma once

#include <cstddef>
#include <string>

class UT_String {
public:
    UT_String() = default;
    // From UTF-8 text. Bytes that do not form valid UTF-8 are taken one by one as
    // Latin-1 characters, so any narrow text converts without loss.
    UT_String(const char* utf8);
    UT_String(const std::string& utf8);
    UT_String(const char16_t* units);
    explicit UT_String(std::u16string units);

    std::size_t length() const { return units_.size(); }
    bool empty() const { return units_.empty(); }
    char16_t operator[](std::size_t i) const { return units_[i]; }
    char16_t& operator[](std::size_t i) { return units_[i]; }
    const char16_t* c_str() const { return units_.c_str(); }
    const std::u16string& units() const { return units_; }

    void append(char16_t unit) { units_.push_back(unit); }
    UT_String& operator+=(const UT_String& other) { units_ += other.units_; return *this; }

    // Ordinal comparison of the code units: <0, 0 or >0.
    int compare(const UT_String& other) const { return units_.compare(other.units_); }
    bool operator==(const UT_String& o) const { return units_ == o.units_; }
    bool operator!=(const UT_String& o) const { return units_ != o.units_; }
    bool operator<(const UT_String& o) const { return units_ < o.units_; }

    // UTF-8 form; unpaired surrogates become U+FFFD.
    std::string utf8() const;

private:
    std::u16string units_;
};

// Narrow (ANSI, taken as Latin-1) text to a wide string: one code unit per byte.
UT_String UT_A2W(const char* narrow);
