#pragma once

#include "Platform/Foundation/JSONDecoder.hpp"
#include "Platform/Foundation/JSONWriter.hpp"
#include "Velmorant/Alignment/Alignment.hpp"

namespace velmorant {

// The JSON form of an alignment: "positions" alternates items and positions, in order; a range is its two bounds.
// Decoding throws `platform::JSONError`.

void encode(platform::JSONWriter& json, const Position& position);
void encode(platform::JSONWriter& json, const Alignment& alignment);

Position decodePosition(const platform::JSONValue& value);
Alignment decodeAlignment(const platform::JSONValue& value);

} // namespace velmorant
