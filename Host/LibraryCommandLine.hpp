#pragma once

#include "Host/Commands/Stitch.hpp"
#include "Host/ExitStatus.hpp"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace host {

/// The commands on a photo library.
class LibraryCommandLine {
public:
    /// The words that name one.
    static const std::vector<std::string>& commands();

    void addTo(CLI::App& app);

    /// What the call asks for; empty where it is none of these commands. After parsing.
    const std::function<ExitStatus()>& chosen() const { return chosen_; }

private:
    CLI::App& add(CLI::App& app, const char* name, const std::string& description, const char* examples,
                  std::function<ExitStatus()> run);

    std::function<ExitStatus()> chosen_;
};

} // namespace host
