#include "Host/RowsJSON.hpp"

#include "Host/GroupJSON.hpp"
#include "Velmorant/Rendering/PictureRows.hpp"

namespace host {

std::string rowsJSON(const std::vector<StitchedGroup>& groups, const ImageFiles& files) {
    platform::JSONWriter json;
    json.beginObject().key("pictures").beginArray();
    for (const StitchedGroup& group : groups) {
        if (!group.output)
            continue;
        json.beginObject().member("output", group.output->native());
        json.member("width", group.pictureSize.width).member("height", group.pictureSize.height);
        json.key("rows").beginArray();
        for (const velmorant::PictureRows& part : pictureRows(*group.alignment, group.shown)) {
            writeRange(json.beginObject().key("rows"), part.rows);
            json.member("blended", part.sources.size() > 1).key("sources").beginArray();
            for (const auto& [item, rows] : part.sources) {
                json.beginObject().member("path", files.path(item).native());
                writeRange(json.key("rows"), rows);
                json.endObject();
            }
            json.endArray().endObject();
        }
        json.endArray().endObject();
    }
    json.endArray().endObject();
    return json.text() + "\n";
}

} // namespace host
