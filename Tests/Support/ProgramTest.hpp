#pragma once

#include "Platform/Foundation/FileManager.hpp"
#include "Tests/Support/TestDevice.hpp"

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

/// The program as its users run it.
namespace host {

namespace fs = std::filesystem;

inline const fs::path examples = fs::path(VELMORANT_SOURCE_DIR) / "Examples";

struct Ran {
    int status;
    std::string out, err;
};

inline std::string quoted(const std::string& word) {
    return "'" + word + "'";
}

inline std::string inputsOf(const std::string& name) {
    std::string words;
    std::vector<fs::path> files;
    for (const auto& entry : fs::directory_iterator(examples / name))
        if (entry.path().extension() != ".json")
            files.push_back(entry.path());
    std::ranges::sort(files);
    for (const fs::path& file : files)
        words += " " + quoted(file.native());
    return words;
}

class ProgramTest : public testing::Test {
protected:
    /// `arguments` as a shell reads them, run in the test's folder.
    Ran run(const std::string& arguments) {
        const std::string command = "cd " + quoted(folder.path().native()) + " && XDG_CACHE_HOME=\"$PWD/.cache\" " +
                                    environment + " " + quoted(VELMORANT_PROGRAM) + " >.out 2>.err </dev/null " + arguments;
        const int status = std::system(command.c_str());
        return {WEXITSTATUS(status), platform::contentOf(folder / ".out"), platform::contentOf(folder / ".err")};
    }

    /// What lies in the folder, but for what `run` keeps there and the screenshots in "shots".
    std::vector<std::string> files() const {
        std::vector<std::string> names;
        for (const std::string& name : folder.names())
            if (!name.starts_with('.') && name != "shots")
                names.push_back(name);
        std::ranges::sort(names);
        return names;
    }

    std::string environment = "LC_ALL=C"; ///< of the program
    const platform::TemporaryFolder folder;
    const std::string chat = inputsOf("trip-chat");
};

} // namespace host
