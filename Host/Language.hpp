#pragma once

#include <string>

namespace host {

// The language of messages, by GNU gettext. The catalogues, made of Host/po/, lie beside the program (locale/) or where it
// is installed (share/locale).

/// Takes up the language that the environment asks for (LANGUAGE, LC_ALL, LC_MESSAGES, LANG). For English nothing is
/// loaded. A language whose locale the system does not have is spoken all the same. Once, before there are threads.
void setUpLanguage();

/// `text` in that language where the catalogue has it, else itself. Any thread.
const char* translated(const char* text);
/// The form that goes with `count`.
const char* translated(const char* one, const char* many, std::size_t count);

} // namespace host
