#include "Host/Language.hpp"

#include <libintl.h>

#include <clocale>
#include <cstdlib>
#include <filesystem>
#include <string_view>

namespace host {

namespace fs = std::filesystem;

namespace {

constexpr const char* domain = "velmorant";

bool isTranslating = false;

std::string_view variable(const char* name) {
    const char* value = std::getenv(name);
    return value ? value : "";
}

/// As in "de_DE.UTF-8" or "de:fr"; empty where the environment asks for none, and then LANGUAGE counts for nothing.
std::string_view wantedLanguages() {
    std::string_view locale;
    for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"})
        if (locale = variable(name); !locale.empty())
            break;
    if (locale.empty() || locale == "C" || locale == "POSIX")
        return {};
    const std::string_view languages = variable("LANGUAGE");
    return languages.empty() ? locale : languages;
}

bool isEnglish(std::string_view languages) {
    const std::string_view first = languages.substr(0, languages.find_first_of("_.@:"));
    return first.empty() || first == "C" || first == "en";
}

fs::path catalogues() {
    std::error_code unknown;
    const fs::path program = fs::read_symlink("/proc/self/exe", unknown).parent_path();
    const fs::path beside = program / "locale";
    return fs::is_directory(beside, unknown) ? beside : program.parent_path() / "share/locale";
}

} // namespace

void setUpLanguage() {
    const std::string languages(wantedLanguages());
    if (isEnglish(languages))
        return;
    if (!std::setlocale(LC_MESSAGES, "")) {
        std::setlocale(LC_MESSAGES, "C.UTF-8");
        setenv("LANGUAGE", languages.c_str(), 0);
    }
    bindtextdomain(domain, catalogues().c_str());
    bind_textdomain_codeset(domain, "UTF-8");
    isTranslating = true;
}

const char* translated(const char* text) {
    return isTranslating && *text ? dgettext(domain, text) : text;
}

const char* translated(const char* one, const char* many, std::size_t count) {
    if (isTranslating)
        return dngettext(domain, one, many, count);
    return count == 1 ? one : many;
}

} // namespace host
