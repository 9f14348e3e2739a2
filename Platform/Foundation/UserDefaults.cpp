#include "Platform/Foundation/UserDefaults.hpp"

#include "Platform/Foundation/Device.hpp"
#include "Platform/Foundation/FileManager.hpp"
#include "Platform/Foundation/JSONDecoder.hpp"
#include "Platform/Foundation/JSONWriter.hpp"

namespace platform {

namespace fs = std::filesystem;

namespace {

/// Empty without a defaults folder.
fs::path fileOf(std::string_view key) {
    constexpr char digits[] = "0123456789ABCDEF";
    const fs::path& folder = Device::current().folders.defaults;
    if (folder.empty())
        return {};
    std::string name;
    for (const char character : key) {
        const auto byte = static_cast<unsigned char>(character);
        const bool plain = (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') ||
                           (byte >= '0' && byte <= '9') || byte == '-' || byte == '_' || byte == '.';
        if (plain)
            name += character;
        else
            name.append({'%', digits[byte >> 4], digits[byte & 15]});
    }
    return folder / (name + ".json");
}

bool isJSON(std::string_view text) {
    return json::decode(text, [](const JSONValue&) {}).has_value();
}

} // namespace

std::optional<std::vector<std::string>> UserDefaults::stringArray(std::string_view key) {
    const fs::path file = fileOf(key);
    const auto text = file.empty() ? std::unexpected(std::error_code()) : FileManager::contents(file);
    if (!text)
        return std::nullopt;
    std::vector<std::string> strings;
    const auto decoded = json::decode(*text, [&](const JSONValue& value) {
        for (const JSONValue& element : value.elements())
            strings.push_back(element.string());
    });
    return decoded ? std::optional(std::move(strings)) : std::nullopt;
}

void UserDefaults::set(std::string_view key, const std::vector<std::string>& strings) {
    const fs::path file = fileOf(key);
    if (file.empty() || !FileManager::createDirectory(file.parent_path()))
        return;
    if (const auto former = FileManager::contents(file); former && !isJSON(*former))
        if (!FileManager::setAsideDamaged(file))
            return;
    JSONWriter json;
    json.beginArray();
    for (const std::string& string : strings)
        json.value(string);
    json.endArray();
    std::ignore = FileManager::write(file, json.text()); // kept as the last write failure
}

void UserDefaults::remove(std::string_view key) {
    if (const fs::path file = fileOf(key); !file.empty())
        std::ignore = FileManager::remove(file);
}

std::optional<FileIdentity> UserDefaults::version(std::string_view key) {
    const auto file = RegularFile::open(fileOf(key));
    return file ? std::optional(file->identity()) : std::nullopt;
}

} // namespace platform
