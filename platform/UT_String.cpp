#include "flio/UT_String.h"

namespace {

// Decodes one UTF-8 sequence at s[i]; returns its length, or 0 when it is not valid.
std::size_t DecodeUtf8(const unsigned char* s, std::size_t n, std::size_t i, char32_t& cp) {
    unsigned char c = s[i];
    std::size_t len;
    char32_t min;
    if (c < 0x80) { cp = c; return 1; }
    if ((c & 0xE0) == 0xC0) { len = 2; cp = c & 0x1F; min = 0x80; }
    else if ((c & 0xF0) == 0xE0) { len = 3; cp = c & 0x0F; min = 0x800; }
    else if ((c & 0xF8) == 0xF0) { len = 4; cp = c & 0x07; min = 0x10000; }
    else return 0;
    if (i + len > n) return 0;
    for (std::size_t k = 1; k < len; ++k) {
        if ((s[i + k] & 0xC0) != 0x80) return 0;
        cp = (cp << 6) | (s[i + k] & 0x3F);
    }
    if (cp < min || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) return 0;
    return len;
}

void AppendUtf8(std::string& out, char32_t cp) {
    if (cp < 0x80) {
        out += static_cast<char>(cp);
    } else if (cp < 0x800) {
        out += static_cast<char>(0xC0 | (cp >> 6));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    } else if (cp < 0x10000) {
        out += static_cast<char>(0xE0 | (cp >> 12));
        out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (cp >> 18));
        out += static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    }
}

}  // namespace

UT_String::UT_String(const char* utf8) : UT_String(std::string(utf8 ? utf8 : "")) {}

UT_String::UT_String(const std::string& utf8) {
    const auto* s = reinterpret_cast<const unsigned char*>(utf8.data());
    const std::size_t n = utf8.size();
    units_.reserve(n);
    for (std::size_t i = 0; i < n;) {
        char32_t cp = 0;
        std::size_t len = DecodeUtf8(s, n, i, cp);
        if (len == 0) {  // not UTF-8: keep the byte as a Latin-1 character
            units_.push_back(static_cast<char16_t>(s[i]));
            ++i;
            continue;
        }
        if (cp >= 0x10000) {
            cp -= 0x10000;
            units_.push_back(static_cast<char16_t>(0xD800 + (cp >> 10)));
            units_.push_back(static_cast<char16_t>(0xDC00 + (cp & 0x3FF)));
        } else {
            units_.push_back(static_cast<char16_t>(cp));
        }
        i += len;
    }
}

UT_String::UT_String(const char16_t* units) : units_(units ? units : u"") {}

UT_String::UT_String(std::u16string units) : units_(std::move(units)) {}

std::string UT_String::utf8() const {
    std::string out;
    out.reserve(units_.size());
    for (std::size_t i = 0; i < units_.size(); ++i) {
        char32_t u = units_[i];
        if (u >= 0xD800 && u <= 0xDBFF && i + 1 < units_.size() && units_[i + 1] >= 0xDC00 &&
            units_[i + 1] <= 0xDFFF) {
            u = 0x10000 + ((u - 0xD800) << 10) + (units_[i + 1] - 0xDC00);
            ++i;
        } else if (u >= 0xD800 && u <= 0xDFFF) {
            u = 0xFFFD;
        }
        AppendUtf8(out, u);
    }
    return out;
}

UT_String UT_A2W(const char* narrow) {
    std::u16string units;
    for (const char* p = narrow; p && *p; ++p) units.push_back(static_cast<unsigned char>(*p));
    return UT_String(std::move(units));
}
