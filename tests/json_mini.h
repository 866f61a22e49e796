// A small JSON reader for the tests that look at what an external tool printed.
// It parses standard JSON into a tree of Json values; malformed text throws
// std::runtime_error. Numbers are kept as doubles (the tools print integers well
// inside the exact range of a double).
#pragma once

#include <cstdlib>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace flio_test {

struct Json {
    enum Kind { Null, Bool, Number, String, Array, Object } kind = Null;
    bool boolean = false;
    double number = 0;
    std::string text;
    std::vector<Json> items;
    std::map<std::string, Json> fields;

    bool Has(const std::string& key) const { return kind == Object && fields.count(key) != 0; }
    // A missing key or a non-object gives a shared null value.
    const Json& operator[](const std::string& key) const {
        static const Json none;
        if (kind != Object) return none;
        const auto it = fields.find(key);
        return it == fields.end() ? none : it->second;
    }
    const Json& operator[](std::size_t i) const {
        static const Json none;
        return kind == Array && i < items.size() ? items[i] : none;
    }
    std::size_t Size() const { return kind == Array ? items.size() : fields.size(); }
    long Int() const { return static_cast<long>(number); }

    static Json Parse(const std::string& s) {
        std::size_t pos = 0;
        Json v = ParseValue(s, pos);
        SkipSpace(s, pos);
        if (pos != s.size()) throw std::runtime_error("json: text after the value");
        return v;
    }

private:
    static void SkipSpace(const std::string& s, std::size_t& pos) {
        while (pos < s.size() && (s[pos] == ' ' || s[pos] == '\n' || s[pos] == '\r' || s[pos] == '\t')) ++pos;
    }
    static void Expect(const std::string& s, std::size_t& pos, const char* word) {
        for (const char* c = word; *c; ++c, ++pos)
            if (pos >= s.size() || s[pos] != *c) throw std::runtime_error("json: unexpected text");
    }
    static std::string ParseString(const std::string& s, std::size_t& pos) {
        std::string out;
        ++pos;  // the opening quote
        while (pos < s.size() && s[pos] != '"') {
            char c = s[pos++];
            if (c == '\\') {
                if (pos >= s.size()) break;
                c = s[pos++];
                switch (c) {
                    case 'n': out += '\n'; break;
                    case 't': out += '\t'; break;
                    case 'r': out += '\r'; break;
                    case 'b': out += '\b'; break;
                    case 'f': out += '\f'; break;
                    case 'u': {  // kept as '?': the tests compare no escaped text
                        if (pos + 4 > s.size()) throw std::runtime_error("json: bad escape");
                        pos += 4;
                        out += '?';
                        break;
                    }
                    default: out += c;  // \" \\ \/
                }
            } else {
                out += c;
            }
        }
        if (pos >= s.size()) throw std::runtime_error("json: unterminated string");
        ++pos;
        return out;
    }
    static Json ParseValue(const std::string& s, std::size_t& pos) {
        SkipSpace(s, pos);
        if (pos >= s.size()) throw std::runtime_error("json: unexpected end");
        Json v;
        const char c = s[pos];
        if (c == '{') {
            v.kind = Object;
            ++pos;
            SkipSpace(s, pos);
            if (pos < s.size() && s[pos] == '}') return ++pos, v;
            for (;;) {
                SkipSpace(s, pos);
                if (pos >= s.size() || s[pos] != '"') throw std::runtime_error("json: expected a key");
                std::string key = ParseString(s, pos);
                SkipSpace(s, pos);
                Expect(s, pos, ":");
                v.fields[key] = ParseValue(s, pos);
                SkipSpace(s, pos);
                if (pos < s.size() && s[pos] == ',') { ++pos; continue; }
                Expect(s, pos, "}");
                return v;
            }
        }
        if (c == '[') {
            v.kind = Array;
            ++pos;
            SkipSpace(s, pos);
            if (pos < s.size() && s[pos] == ']') return ++pos, v;
            for (;;) {
                v.items.push_back(ParseValue(s, pos));
                SkipSpace(s, pos);
                if (pos < s.size() && s[pos] == ',') { ++pos; continue; }
                Expect(s, pos, "]");
                return v;
            }
        }
        if (c == '"') {
            v.kind = String;
            v.text = ParseString(s, pos);
            return v;
        }
        if (c == 't') { Expect(s, pos, "true"); v.kind = Bool; v.boolean = true; return v; }
        if (c == 'f') { Expect(s, pos, "false"); v.kind = Bool; return v; }
        if (c == 'n') { Expect(s, pos, "null"); return v; }
        char* end = nullptr;
        v.number = std::strtod(s.c_str() + pos, &end);
        if (end == s.c_str() + pos) throw std::runtime_error("json: unexpected character");
        v.kind = Number;
        pos = static_cast<std::size_t>(end - s.c_str());
        return v;
    }
};

}  // namespace flio_test
