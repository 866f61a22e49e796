// A small JSON reader for the tests that look at what an external tool printed.
// Malformed text throws std::runtime_error; numbers are doubles (the tools print
// integers well inside their exact range); \u escapes read as '?'.
#pragma once

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
    const Json& operator[](const std::string& key) const {
        static const Json none;
        const auto it = fields.find(key);
        return it == fields.end() ? none : it->second;
    }
    const Json& operator[](std::size_t i) const {
        static const Json none;
        return i < items.size() ? items[i] : none;
    }
    std::size_t Size() const { return kind == Array ? items.size() : fields.size(); }
    long Int() const { return static_cast<long>(number); }

    static Json Parse(const std::string& s) {
        std::size_t pos = 0;
        Json v = Value(s, pos);
        if (Skip(s, pos) != s.size()) throw std::runtime_error("json: text after the value");
        return v;
    }

private:
    static std::size_t Skip(const std::string& s, std::size_t& pos) {
        while (pos < s.size() && std::string(" \n\r\t").find(s[pos]) != std::string::npos) ++pos;
        return pos;
    }
    static void Expect(const std::string& s, std::size_t& pos, const std::string& word) {
        if (s.compare(Skip(s, pos), word.size(), word) != 0) throw std::runtime_error("json: expected " + word);
        pos += word.size();
    }
    static std::string Str(const std::string& s, std::size_t& pos) {
        Expect(s, pos, "\"");
        std::string out;
        for (char c; pos < s.size() && (c = s[pos++]) != '"';) {
            if (c != '\\' || pos >= s.size()) { out += c; continue; }
            c = s[pos++];
            const std::string from = "ntrbfu", to = "\n\t\r\b\f?";
            const std::size_t k = from.find(c);
            out += k == std::string::npos ? c : to[k];
            if (c == 'u') pos += 4;
        }
        if (pos > s.size() || s[pos - 1] != '"') throw std::runtime_error("json: unterminated string");
        return out;
    }
    // The items of an object or array up to `close`; `item` reads one.
    template <class Item>
    static void List(const std::string& s, std::size_t& pos, char close, Item item) {
        if (s[Skip(s, pos)] == close) return void(++pos);
        do item(); while (Skip(s, pos) < s.size() && s[pos] == ',' && ++pos);
        Expect(s, pos, std::string(1, close));
    }
    static Json Value(const std::string& s, std::size_t& pos) {
        if (Skip(s, pos) >= s.size()) throw std::runtime_error("json: unexpected end");
        Json v;
        const char c = s[pos];
        if (c == '{' || c == '[') {
            ++pos;
            v.kind = c == '{' ? Object : Array;
            List(s, pos, c == '{' ? '}' : ']', [&] {
                if (v.kind == Array) return v.items.push_back(Value(s, pos));
                const std::string key = Str(s, pos);
                Expect(s, pos, ":");
                v.fields[key] = Value(s, pos);
            });
        } else if (c == '"') {
            v.kind = String;
            v.text = Str(s, pos);
        } else if (c == 't' || c == 'f' || c == 'n') {
            const std::string word = c == 't' ? "true" : c == 'f' ? "false" : "null";
            Expect(s, pos, word);
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
