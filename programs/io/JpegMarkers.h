#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "programs/base/Description.h"

namespace platen_tool {

// The marker segments of a JPEG that describe it: XMP in APP1, IPTC within a list of resources in APP13.

// Takes the segment's data where it is one of these; the first of each counts.
void TakeXmpSegment(const std::uint8_t* data, std::size_t count, Description& description);
void TakeIptcSegment(const std::uint8_t* data, std::size_t count, Description& description);

// Empty where there is nothing to say, or no segment can hold it.
std::vector<std::uint8_t> MakeXmpSegment(const Description& description);
std::vector<std::uint8_t> MakeIptcSegment(const Description& description);

}  // namespace platen_tool
