// A minimal JSON writer for the tool's reports.
#pragma once

#include <cmath>
#include <cstdio>
#include <sstream>
#include <string>

namespace flio_cli {

inline std::string JsonString(const std::string& s) {
    std::string out = "\"";
    for (unsigned char c : s) {
        switch (c) {
            case '"': out += "\\\""; break;
            case '\\': out += "\\\\"; break;
            case '\n': out += "\\n"; break;
            case '\t': out += "\\t"; break;
            default:
                if (c < 0x20) {
                    char buf[8];
                    std::snprintf(buf, sizeof buf, "\\u%04x", c);
                    out += buf;
                } else {
                    out += static_cast<char>(c);
                }
        }
    }
    return out + "\"";
}

inline std::string JsonNumber(double v) {
    if (!std::isfinite(v)) return "null";
    std::ostringstream o;
    o.precision(15);
    o << v;
    return o.str();
}

}  // namespace flio_cli
