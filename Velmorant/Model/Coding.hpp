#pragma once

#include "Platform/Foundation/JSONDecoder.hpp"
#include "Platform/Foundation/JSONWriter.hpp"
#include "Velmorant/Model/Group.hpp"

namespace velmorant {

// The JSON forms of the model: keyed objects, all keys required. Dates are seconds since 2001-01-01 00:00:00 UTC.
// Decoding throws `platform::JSONError`.

void encode(platform::JSONWriter& json, const PixelSize& size);
void encode(platform::JSONWriter& json, const StitchableItem& item);
void encode(platform::JSONWriter& json, const Group& group);

PixelSize decodeSize(const platform::JSONValue& value);
StitchableItem decodeItem(const platform::JSONValue& value);
/// Keeps the date that is written, whatever its first item's.
Group decodeGroup(const platform::JSONValue& value);

} // namespace velmorant
