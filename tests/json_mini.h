// A small JSON reader for the tests that look at what an external tool printed.
// Malformed text throws std::runtime_error; numbers are doubles (the tools print
// integers well inside their exact range); \u escapes read as '?'.
#pragma once

#include <cctype>
#include <cstdlib>
#include <map>
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

    bool Has(const std::string& key) const { return fields.count(key) != 0; }
    // A missing key or index gives a shared null value.
    const Json& operator[](const std::string& key) const { return Has(key) ? fields.at(key) : None(); }
    const Json& operator[](std::size_t i) const { return i < items.size() ? items[i] : None(); }
    std::size_t Size() const { return kind == Array ? items.size() : fields.size(); }
    long Int() const { return static_cast<long>(number); }

    static Json Parse(const std::string& s) {
        std::size_t pos = 0;
        Json v = Value(s, pos);
        if (Skip(s, pos) != s.size()) throw std::runtime_error("json: text after the value");
        return v;
    }

private:
    static const Json& None() {
        static const Json none;
        return none;
    }
    static std::size_t Skip(const std::string& s, std::size_t& pos) {
        while (pos < s.size() && std::isspace(static_cast<unsigned char>(s[pos]))) ++pos;
        return pos;
    }
    static void Expect(const std::string& s, std::size_t& pos, const std::string& word) {
        if (s.compare(Skip(s, pos), word.size(), word) != 0) throw std::runtime_error("json: expected " + word);
        pos += word.size();
    }
    static std::string Str(const std::string& s, std::size_t& pos) {
        Expect(s, pos, "\"");
        std::string out;
        auto next = [&] { return pos < s.size() ? s[pos++] : throw std::runtime_error("json: open string"); };
        for (char c; (c = next()) != '"'; out += c) {
            if (c != '\\') continue;
            const std::size_t k = std::string("ntrbfu").find(c = next());
            if (k != std::string::npos) c = "\n\t\r\b\f?"[k];
            if (k == 5) pos += 4;
        }
        return out;
    }
    static Json Value(const std::string& s, std::size_t& pos) {
        if (Skip(s, pos) >= s.size()) throw std::runtime_error("json: unexpected end");
        Json v;
        const char c = s[pos];
        if (c == '{' || c == '[') {
            const char close = c == '{' ? '}' : ']';
            v.kind = c == '{' ? Object : Array;
            if (s[Skip(s, ++pos)] == close) return ++pos, v;
            do {
                if (v.kind == Array) {
                    v.items.push_back(Value(s, pos));
                    continue;
                }
                const std::string key = Str(s, pos);
                Expect(s, pos, ":");
                v.fields[key] = Value(s, pos);
            } while (s[Skip(s, pos)] == ',' && ++pos);
            Expect(s, pos, std::string(1, close));
        } else if (c == '"') {
            v.kind = String;
            v.text = Str(s, pos);
        } else if (c == 't' || c == 'f' || c == 'n') {
            Expect(s, pos, c == 't' ? "true" : c == 'f' ? "false" : "null");
            v.kind = c == 'n' ? Null : Bool;
            v.boolean = c == 't';
        } else {
            char* end = nullptr;
            v.number = std::strtod(s.c_str() + pos, &end);
            if (end == s.c_str() + pos) throw std::runtime_error("json: unexpected character");
            v.kind = Number;
            pos = static_cast<std::size_t>(end - s.c_str());
        }
        return v;
    }
};

}  // namespace flio_test
