#include "programs/io/JpegMarkers.h"

#include <cstring>

#include "programs/io/DescriptionTexts.h"

namespace platen_tool {

namespace {

constexpr char kXmpHead[] = "http://ns.adobe.com/xap/1.0/";  // with the zero at its end
constexpr char kResourcesHead[] = "Photoshop 3.0";           // likewise
constexpr std::uint16_t kIptcResource = 0x0404;

}  // namespace

void TakeXmpSegment(const std::uint8_t* data, std::size_t count, Description& description) {
    const std::size_t head = sizeof kXmpHead;
    if (description.xmp.empty() && count > head && std::memcmp(data, kXmpHead, head) == 0) {
        description.xmp.assign(data + head, data + count);
    }
}

void TakeIptcSegment(const std::uint8_t* data, std::size_t count, Description& description) {
    const std::size_t head = sizeof kResourcesHead;
    if (!description.iptc.empty() || count < head || std::memcmp(data, kResourcesHead, head) != 0) {
        return;
    }
    // Each: "8BIM", a number, a name of even length with its own length first, the data's length, the data, padded.
    for (std::size_t at = head; count - at >= 12 && std::memcmp(data + at, "8BIM", 4) == 0;) {
        const unsigned number = data[at + 4] * 256u + data[at + 5];
        const std::size_t name = (data[at + 6] + std::size_t{2}) / 2 * 2;
        if (count - at < 6 + name + 4) {
            return;
        }
        at += 6 + name;
        const std::size_t bytes = std::size_t{data[at]} << 24 | std::size_t{data[at + 1]} << 16 |
                                  std::size_t{data[at + 2]} << 8 | data[at + 3];
        at += 4;
        if (bytes > count - at) {
            return;
        }
        if (number == kIptcResource) {
            description.iptc.assign(data + at, data + at + bytes);
            return;
        }
        at += bytes;
        at += at < count ? bytes % 2 : 0;
    }
}

std::vector<std::uint8_t> MakeXmpSegment(const Description& description) {
    if (description.xmp.empty() || description.xmp.size() > kMostJpegXmp) {
        return {};
    }
    std::vector<std::uint8_t> segment(kXmpHead, kXmpHead + sizeof kXmpHead);
    segment.insert(segment.end(), description.xmp.begin(), description.xmp.end());
    return segment;
}

std::vector<std::uint8_t> MakeIptcSegment(const Description& description) {
    const std::size_t bytes = description.iptc.size();
    if (bytes == 0 || bytes > kMostJpegIptc) {
        return {};
    }
    std::vector<std::uint8_t> segment(kResourcesHead, kResourcesHead + sizeof kResourcesHead);
    for (const std::size_t byte :
         {std::size_t{'8'}, std::size_t{'B'}, std::size_t{'I'}, std::size_t{'M'}, std::size_t{4}, std::size_t{4},
          std::size_t{0}, std::size_t{0}, bytes >> 24, bytes >> 16, bytes >> 8, bytes}) {
        segment.push_back(static_cast<std::uint8_t>(byte));
    }
    segment.insert(segment.end(), description.iptc.begin(), description.iptc.end());
    if (bytes % 2 != 0) {
        segment.push_back(0);
    }
    return segment;
}

}  // namespace platen_tool
