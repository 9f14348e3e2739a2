#pragma once

namespace host {

/// The door that every message for people passes through, so that messages can be translated: answers `text` in the
/// user's language. JSON, ids and log messages do not pass here.
const char* localized(const char* text);

} // namespace host
