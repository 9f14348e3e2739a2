#include "Host/LibraryCommandLine.hpp"

#include "Host/Commands/Decisions.hpp"
#include "Host/Commands/Import.hpp"
#include "Host/Commands/Lists.hpp"
#include "Host/Commands/Pictures.hpp"
#include "Host/Commands/Watch.hpp"
#include "Host/Message.hpp"
#include "Host/PictureCommandLine.hpp"
#include "Platform/Dispatch/ThreadPool.hpp"

#include <CLI/CLI.hpp>

namespace host {

namespace {

std::shared_ptr<NamedOptions> namesOf(CLI::App& command, const char* what, bool required = true) {
    const auto options = std::make_shared<NamedOptions>();
    auto* names = command.add_option("names", options->names, message("beginnings of their ids"))->type_name(what);
    if (required)
        names->required();
    command.add_flag("--json", options->json, message("tell the result as JSON on standard output"));
    return options;
}

} // namespace

const std::vector<std::string>& LibraryCommandLine::commands() {
    static const std::vector<std::string> names = {"import",     "items",        "groups",   "show",   "render",
                                                   "save",       "delete",       "restore",  "trash",  "ignore",
                                                   "unignore",   "combine",      "separate", "albums", "export",
                                                   "permission", "capture-note", "watch",    "status"};
    return names;
}

CLI::App& LibraryCommandLine::add(CLI::App& app, const char* name, const std::string& description, const char* examples,
                                  std::function<ExitStatus()> run) {
    CLI::App& command = *app.add_subcommand(name, description);
    command.footer(message("Examples:\n") + examples);
    command.callback([this, run = std::move(run)] { chosen_ = run; });
    return command;
}

void LibraryCommandLine::addTo(CLI::App& app) {
    const auto imports = std::make_shared<ImportOptions>();
    CLI::App& import =
        add(app, "import", message("copy pictures into the library; those that it has already are left out"),
            "  velmorant import ~/Pictures/Screenshots\n  velmorant import --recursive ~/Pictures",
            [imports] { return host::import(*imports); });
    import.add_option("files", imports->input.names, message("pictures, or folders of them"))->type_name("FILE|FOLDER");
    import.add_flag("--recursive", imports->input.recursive, message("look into folders within folders, too"));
    import
        .add_option("--files-from", imports->input.list,
                    message("a file (- for standard input) that names more of them"))
        ->type_name("FILE");
    import.add_flag("--as-screenshots", imports->asScreenshots,
                    message("all of them are screenshots, whatever they look like"));
    import.add_flag("--json", imports->json, message("tell the result as JSON on standard output"));
    import.add_flag("--quiet", imports->quiet, message("tell problems only"));

    const auto json = std::make_shared<bool>(false);
    const auto addJSON = [json](CLI::App& command) {
        command.add_flag("--json", *json, message("tell it as JSON on standard output"));
    };
    addJSON(add(app, "items", message("list the screenshots and finished pictures of the library"),
                "  velmorant items\n  velmorant items --json | jq '.items[].path'",
                [json] { return listItems(*json); }));
    const auto stitching = std::make_shared<StitchOptions>();
    const auto prepare = [stitching] { stitching->picture.jobs = platform::ThreadPool::shared().limit(); };
    const auto lists = std::make_shared<GroupListOptions>();
    CLI::App& groups = add(app, "groups", message("list the runs of screenshots that belong together, newest first"),
                           "  velmorant groups\n  velmorant groups --ignored\n  velmorant groups --report groups.html",
                           [lists, stitching, prepare] {
                               prepare();
                               return stitching->report.file.empty() ? listGroups(*lists) : reportGroups(*stitching);
                           });
    auto* ignored = groups.add_flag("--ignored", lists->ignored, message("those that are ignored"));
    auto* listed = groups.add_flag("--json", lists->json, message("tell it as JSON on standard output"));
    groups
        .add_option(
            "--report", stitching->report.file,
            message(
                "match them all and make a page for a browser: their pictures with every seam, and what is left out"))
        ->type_name("PAGE.html")
        ->excludes(ignored)
        ->excludes(listed);
    groups.add_flag("--force", stitching->report.force, message("replace a page that exists"));
    addJSON(add(app, "albums", message("list the albums of the library"), "  velmorant albums",
                [json] { return listAlbums(*json); }));

    const auto addNamed = [&](const char* name, const std::string& description, const char* examples, const char* what,
                              ExitStatus (*run)(const NamedOptions&), bool required = true) {
        const auto slot = std::make_shared<std::shared_ptr<NamedOptions>>();
        CLI::App& command = add(app, name, description, examples, [slot, run] { return run(**slot); });
        *slot = namesOf(command, what, required);
        return std::pair<CLI::App&, NamedOptions&>(command, **slot);
    };
    const auto addAll = [](std::pair<CLI::App&, NamedOptions&> command) {
        command.first.add_flag("--all", command.second.all, message("all of them"))
            ->excludes(command.first.get_option("names"));
    };
    const auto addYes = [](std::pair<CLI::App&, NamedOptions&> command) {
        command.first.add_flag("--yes", command.second.yes, message("do not ask"));
    };
    const auto save = addNamed("save", message("join groups and file their pictures in the library's album"),
                               "  velmorant save 3f2a\n  velmorant save --all", "GROUP", saveGroups, false);
    addAll(save);
    addYes(addNamed("delete", message("move items to the trash, where they stay for 30 days"),
                    "  velmorant delete 7C41", "ITEM", deleteItems));
    addAll(addNamed("restore", message("take items out of the trash"),
                    "  velmorant restore 7C41\n  velmorant restore --all", "ITEM", restoreItems, false));
    addNamed("ignore", message("keep the screenshots of groups out of all groups"), "  velmorant ignore 3f2a", "GROUP",
             ignoreGroup);
    addAll(addNamed("unignore", message("take ignored groups back; velmorant groups --ignored lists them"),
                    "  velmorant unignore 3f2a\n  velmorant unignore --all", "GROUP", unignoreGroups, false));
    addNamed("combine", message("make a group of items by hand"), "  velmorant combine 7C41 9A03 B7", "ITEM",
             combineItems);
    addNamed("separate", message("undo a group that was put together by hand"), "  velmorant separate 3f2a", "GROUP",
             separateGroup);

    const auto emptying = std::make_shared<NamedOptions>();
    CLI::App& trash = add(app, "trash", message("list what was deleted, or remove it for good"),
                          "  velmorant trash\n  velmorant trash empty --yes",
                          [json, emptying] { return emptying->all ? emptyTrash(*emptying) : listTrash(*json); });
    addJSON(trash);
    CLI::App& empty = *trash.add_subcommand("empty", message("remove it for good"));
    empty.add_flag("--yes", emptying->yes, message("do not ask"));
    empty.add_flag("--json", emptying->json, message("tell the result as JSON on standard output"));
    empty.callback([emptying] { emptying->all = true; });

    const auto exported = std::make_shared<std::filesystem::path>();
    const auto exports = std::make_shared<std::shared_ptr<NamedOptions>>();
    CLI::App& exporting =
        add(app, "export", message("copy original files out of the library"), "  velmorant export 7C41 9A03 -o copies/",
            [exports, exported] { return exportItems(**exports, *exported); });
    *exports = namesOf(exporting, "ITEM|GROUP");
    exporting.add_option("-o,--output", *exported, message("the folder that they go to"))
        ->type_name("FOLDER")
        ->required();

    const auto verb = std::make_shared<std::string>();
    const auto limits = std::make_shared<NamedOptions>();
    CLI::App& permitting =
        add(app, "permission", message("tell or set what velmorant may see of the library"),
            "  velmorant permission\n  velmorant permission limit 7C41 9A03\n  velmorant permission grant",
            [verb, limits] { return permission(*verb, *limits); });
    permitting.add_option("verb", *verb, message("grant, limit, deny or ask"))
        ->check(CLI::IsMember({"grant", "limit", "deny", "ask"}));
    permitting.add_option("items", limits->names, message("that a limited access covers"))->type_name("ITEM");
    permitting.add_flag("--json", limits->json, message("tell it as JSON on standard output"));
    add(app, "capture-note",
        message("tell that a screenshot of velmorant itself was just taken: it is kept out of the groups"),
        "  velmorant capture-note", noteCapture);

    const auto watched = std::make_shared<WatchOptions>();
    CLI::App& watching =
        add(app, "watch", message("import from folders as pictures arrive, and tell every change of the groups"),
            "  velmorant watch ~/Phone/Screenshots --save\n  velmorant watch --json",
            [watched] { return watch(*watched); });
    watching.add_option("folders", watched->folders, message("into which pictures arrive"))->type_name("FOLDER");
    watching
        .add_option("--exclude", watched->excluded, message("names of files that are not imported, as in 'Draft*'"))
        ->type_name("PATTERN")
        ->allow_extra_args(false);
    watching.add_flag("--save", watched->save,
                      message("join each run and file its picture once no more screenshots come"));
    watching.add_flag("--json", watched->json, message("a JSON object a line for each change"));
    addJSON(add(app, "status", message("tell what a running watch last saw"), "  velmorant status",
                [json] { return watchStatus(*json); }));

    const auto group = std::make_shared<std::string>();
    CLI::App& showing =
        add(app, "show", message("tell how the screenshots of a group lie and why, or why they do not join"),
            "  velmorant show 3f2a\n  velmorant show 3f2a --json", [group, stitching, prepare] {
                prepare();
                return showGroup(*group, *stitching);
            });
    showing.add_option("group", *group, message("the beginning of its id"))->type_name("GROUP")->required();
    showing.add_flag("--json", stitching->json, message("tell it as JSON on standard output"));
    CLI::App& rendering = add(app, "render", message("draw a group's picture into a file"),
                              "  velmorant render 3f2a -o chat.png\n  velmorant render 3f2a -o small.jpg --width 390",
                              [group, stitching, prepare] {
                                  prepare();
                                  return renderGroup(*group, *stitching);
                              });
    rendering.add_option("group", *group, message("the beginning of its id"))->type_name("GROUP")->required();
    addPictureOptions(rendering, *stitching);
    rendering.get_option("--output")->required();
    rendering.add_flag("--json", stitching->json, message("tell the result as JSON on standard output"));
}

} // namespace host
