#include "Host/LibraryCommandLine.hpp"

#include "Host/Commands/Decisions.hpp"
#include "Host/Commands/Import.hpp"
#include "Host/Commands/Lists.hpp"
#include "Host/Commands/Pictures.hpp"
#include "Host/Commands/Watch.hpp"
#include "Platform/Dispatch/ThreadPool.hpp"

#include <CLI/CLI.hpp>

namespace host {

namespace {

std::shared_ptr<NamedOptions> namesOf(CLI::App& command, const char* what, bool required = true) {
    const auto options = std::make_shared<NamedOptions>();
    auto* names = command.add_option("names", options->names, "beginnings of their ids")->type_name(what);
    if (required)
        names->required();
    command.add_flag("--json", options->json, "tell the result as JSON on standard output");
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

CLI::App& LibraryCommandLine::add(CLI::App& app, const char* name, const char* description, const char* examples,
                                  std::function<ExitStatus()> run) {
    CLI::App& command = *app.add_subcommand(name, description);
    command.footer(std::string("Examples:\n") + examples);
    command.callback([this, run = std::move(run)] { chosen_ = run; });
    return command;
}

void LibraryCommandLine::addTo(CLI::App& app) {
    const auto imports = std::make_shared<ImportOptions>();
    CLI::App& import = add(app, "import", "copy pictures into the library; those that it has already are left out",
                           "  velmorant import ~/Pictures/Screenshots\n  velmorant import --recursive ~/Pictures",
                           [imports] { return host::import(*imports); });
    import.add_option("files", imports->input.names, "pictures, or folders of them")->type_name("FILE|FOLDER");
    import.add_flag("--recursive", imports->input.recursive, "look into folders within folders, too");
    import.add_option("--files-from", imports->input.list, "a file (- for standard input) that names more of them")
        ->type_name("FILE");
    import.add_flag("--as-screenshots", imports->asScreenshots, "all of them are screenshots, whatever they look like");
    import.add_flag("--json", imports->json, "tell the result as JSON on standard output");
    import.add_flag("--quiet", imports->quiet, "tell problems only");

    const auto json = std::make_shared<bool>(false);
    const auto addJSON = [json](CLI::App& command) {
        command.add_flag("--json", *json, "tell it as JSON on standard output");
    };
    addJSON(add(app, "items", "list the screenshots and finished pictures of the library",
                "  velmorant items\n  velmorant items --json | jq '.items[].path'",
                [json] { return listItems(*json); }));
    const auto lists = std::make_shared<GroupListOptions>();
    CLI::App& groups = add(app, "groups", "list the runs of screenshots that belong together, newest first",
                           "  velmorant groups\n  velmorant groups --ignored", [lists] { return listGroups(*lists); });
    groups.add_flag("--ignored", lists->ignored, "those that are ignored");
    groups.add_flag("--json", lists->json, "tell it as JSON on standard output");
    addJSON(add(app, "albums", "list the albums of the library", "  velmorant albums",
                [json] { return listAlbums(*json); }));

    const auto addNamed = [&](const char* name, const char* description, const char* examples, const char* what,
                              ExitStatus (*run)(const NamedOptions&), bool required = true) {
        const auto slot = std::make_shared<std::shared_ptr<NamedOptions>>();
        CLI::App& command = add(app, name, description, examples, [slot, run] { return run(**slot); });
        *slot = namesOf(command, what, required);
        return std::pair<CLI::App&, NamedOptions&>(command, **slot);
    };
    const auto addAll = [](std::pair<CLI::App&, NamedOptions&> command) {
        command.first.add_flag("--all", command.second.all, "all of them")->excludes(command.first.get_option("names"));
    };
    const auto addYes = [](std::pair<CLI::App&, NamedOptions&> command) {
        command.first.add_flag("--yes", command.second.yes, "do not ask");
    };
    const auto save = addNamed("save", "join groups and file their pictures in the library's album",
                               "  velmorant save 3f2a\n  velmorant save --all", "GROUP", saveGroups, false);
    addAll(save);
    addYes(addNamed("delete", "move items to the trash, where they stay for 30 days", "  velmorant delete 7C41", "ITEM",
                    deleteItems));
    addAll(addNamed("restore", "take items out of the trash", "  velmorant restore 7C41\n  velmorant restore --all",
                    "ITEM", restoreItems, false));
    addNamed("ignore", "keep the screenshots of groups out of all groups", "  velmorant ignore 3f2a", "GROUP",
             ignoreGroup);
    addAll(addNamed("unignore", "take ignored groups back; velmorant groups --ignored lists them",
                    "  velmorant unignore 3f2a\n  velmorant unignore --all", "GROUP", unignoreGroups, false));
    addNamed("combine", "make a group of items by hand", "  velmorant combine 7C41 9A03 B7", "ITEM", combineItems);
    addNamed("separate", "undo a group that was put together by hand", "  velmorant separate 3f2a", "GROUP",
             separateGroup);

    CLI::App& trash = add(app, "trash", "list what was deleted, or remove it for good",
                          "  velmorant trash\n  velmorant trash empty --yes", [json] { return listTrash(*json); });
    addJSON(trash);
    const auto emptying = std::make_shared<NamedOptions>();
    CLI::App& empty = *trash.add_subcommand("empty", "remove it for good");
    empty.add_flag("--yes", emptying->yes, "do not ask");
    empty.add_flag("--json", emptying->json, "tell the result as JSON on standard output");
    trash.callback([this, json, emptying, &empty] {
        chosen_ = empty.parsed() ? std::function([emptying] { return emptyTrash(*emptying); })
                                 : std::function([json] { return listTrash(*json); });
    });

    const auto exported = std::make_shared<std::filesystem::path>();
    const auto exports = std::make_shared<std::shared_ptr<NamedOptions>>();
    CLI::App& exporting =
        add(app, "export", "copy original files out of the library", "  velmorant export 7C41 9A03 -o copies/",
            [exports, exported] { return exportItems(**exports, *exported); });
    *exports = namesOf(exporting, "ITEM");
    exporting.add_option("-o,--output", *exported, "the folder that they go to")->type_name("FOLDER")->required();

    const auto verb = std::make_shared<std::string>();
    const auto limits = std::make_shared<NamedOptions>();
    CLI::App& permitting =
        add(app, "permission", "tell or set what velmorant may see of the library",
            "  velmorant permission\n  velmorant permission limit 7C41 9A03\n  velmorant permission grant",
            [verb, limits] { return permission(*verb, *limits); });
    permitting.add_option("verb", *verb, "grant, limit, deny or ask")
        ->check(CLI::IsMember({"grant", "limit", "deny", "ask"}));
    permitting.add_option("items", limits->names, "that a limited access covers")->type_name("ITEM");
    permitting.add_flag("--json", limits->json, "tell it as JSON on standard output");
    add(app, "capture-note", "tell that a screenshot of velmorant itself was just taken: it is kept out of the groups",
        "  velmorant capture-note", noteCapture);

    const auto watched = std::make_shared<WatchOptions>();
    CLI::App& watching =
        add(app, "watch", "import from folders as pictures arrive, and tell every change of the groups",
            "  velmorant watch ~/Phone/Screenshots --save\n  velmorant watch --json",
            [watched] { return watch(*watched); });
    watching.add_option("folders", watched->folders, "into which pictures arrive")->type_name("FOLDER");
    watching.add_option("--exclude", watched->excluded, "names of files that are not imported, as in 'Draft*'")
        ->type_name("PATTERN")
        ->allow_extra_args(false);
    watching.add_flag("--save", watched->save, "join each run and file its picture once no more screenshots come");
    watching.add_flag("--json", watched->json, "a JSON object a line for each change");
    addJSON(add(app, "status", "tell what a running watch last saw", "  velmorant status",
                [json] { return watchStatus(*json); }));

    const auto group = std::make_shared<std::string>();
    const auto stitching = std::make_shared<StitchOptions>();
    const auto prepare = [stitching] {
        stitching->picture.jobs = platform::ThreadPool::shared().limit();
    };
    CLI::App& showing = add(app, "show", "tell how the screenshots of a group lie and why, or why they do not join",
                            "  velmorant show 3f2a\n  velmorant show 3f2a --json", [group, stitching, prepare] {
                                prepare();
                                return showGroup(*group, *stitching);
                            });
    showing.add_option("group", *group, "the beginning of its id")->type_name("GROUP")->required();
    showing.add_flag("--json", stitching->json, "tell it as JSON on standard output");
    CLI::App& rendering = add(app, "render", "draw a group's picture into a file",
                              "  velmorant render 3f2a -o chat.png\n  velmorant render 3f2a -o small.jpg --width 390",
                              [group, stitching, prepare] {
                                  prepare();
                                  return renderGroup(*group, *stitching);
                              });
    rendering.add_option("group", *group, "the beginning of its id")->type_name("GROUP")->required();
    addPictureOptions(rendering, *stitching);
    rendering.get_option("--output")->required();
    rendering.add_flag("--json", stitching->json, "tell the result as JSON on standard output");
}

} // namespace host
