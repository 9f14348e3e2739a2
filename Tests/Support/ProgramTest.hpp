#pragma once

#include "Platform/Foundation/FileManager.hpp"
#include "Platform/Foundation/JSONDecoder.hpp"
#include "Tests/Support/TestDevice.hpp"

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <functional>
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

/// The screenshots of an example, from the first to the last.
inline std::vector<fs::path> shotsOf(const std::string& example) {
    std::vector<fs::path> shots;
    for (const auto& entry : fs::directory_iterator(examples / example))
        if (entry.path().extension() != ".json")
            shots.push_back(entry.path());
    std::ranges::sort(shots);
    return shots;
}

/// With a blank before each.
inline std::string argumentsOf(const std::vector<fs::path>& files) {
    std::string words;
    for (const fs::path& file : files)
        words += " " + quoted(file.native());
    return words;
}

inline std::string inputsOf(const std::string& example) {
    return argumentsOf(shotsOf(example));
}

/// Hands over what the program printed as JSON.
inline void readAnswer(const Ran& ran, const std::function<void(const platform::JSONValue&)>& read) {
    EXPECT_TRUE(platform::json::decode(ran.out, read)) << ran.out << ran.err;
}

class ProgramTest : public testing::Test {
protected:
    /// `arguments` as a shell reads them, run in the test's folder.
    Ran run(const std::string& arguments) {
        const std::string command = "cd " + quoted(folder.path().native()) + " && XDG_CACHE_HOME=\"$PWD/.cache\" " +
                                    environment + " " + quoted(VELMORANT_PROGRAM) + " >.out 2>.err </dev/null " +
                                    arguments;
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
    const std::vector<fs::path> shots = shotsOf("trip-chat");
    const std::string chat = argumentsOf(shots);
};

} // namespace host
