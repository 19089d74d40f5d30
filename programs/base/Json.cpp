#include "programs/base/Json.h"

namespace platen_tool {

std::string JsonText(const std::string& text) {
    static constexpr char kHex[] = "0123456789abcdef";
    std::string json = "\"";
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '"' || c == '\\') {
            json += std::string("\\") + c;
        } else if (byte < 0x20) {
            json += std::string("\\u00") + kHex[byte >> 4] + kHex[byte & 15];
        } else {
            json += c;
        }
    }
    return json + "\"";
}

}  // namespace platen_tool
