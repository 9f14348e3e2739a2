#include "Platform/Foundation/JSONWriter.hpp"
#include "Platform/Foundation/UUID.hpp"
#include "Platform/Photos/AssetQuery-inl.hpp"
#include "Platform/Photos/OriginalFile.hpp"
#include "Platform/Photos/PHPhotoLibrary.hpp"

#include <algorithm>
#include <cctype>

namespace platform {

namespace {

bool isProperty(const std::string& word) {
    constexpr const char* properties[] = {"mediaSubtype", "creationDate", "pixelWidth", "pixelHeight"};
    return std::ranges::any_of(properties, [&](const char* property) { return word == property; });
}

/// The predicate as SQL, whose names for the properties are the same; "0" where it is none.
std::string conditionOf(const NSPredicate& predicate) {
    const std::string& format = predicate.format;
    std::string sql;
    std::size_t arguments = 0;
    for (std::size_t i = 0; i < format.size();) {
        if (std::isalpha(static_cast<unsigned char>(format[i]))) {
            const auto end = std::find_if_not(format.begin() + static_cast<std::ptrdiff_t>(i), format.end(),
                                              [](unsigned char c) { return std::isalpha(c); });
            const std::string word(format.begin() + static_cast<std::ptrdiff_t>(i), end);
            if (!isProperty(word))
                return "0";
            sql += word;
            i += word.size();
        } else if (format.compare(i, 2, "%d") == 0) {
            sql += '?';
            ++arguments;
            i += 2;
        } else if (std::string_view("0123456789 ()&|=!<>").contains(format[i])) {
            sql += format[i++];
        } else {
            return "0";
        }
    }
    return arguments == predicate.arguments.size() ? "(" + sql + ")" : "0";
}

std::string orderOf(const AssetQuery& query) {
    if (query.deleted == AssetQuery::Deleted::yes)
        return "deleted DESC, number DESC";
    std::string order;
    for (const NSSortDescriptor& descriptor : query.options.sortDescriptors)
        if (isProperty(descriptor.key))
            order += descriptor.key + (descriptor.ascending ? ", " : " DESC, ");
    const bool isAscending = query.options.sortDescriptors.empty() || query.options.sortDescriptors[0].ascending;
    return order + (query.collection ? "position, " : "") + (isAscending ? "number" : "number DESC");
}

std::string jsonOf(const std::vector<std::string>& texts) {
    JSONWriter json;
    json.beginArray();
    for (const std::string& text : texts)
        json.value(text);
    json.endArray();
    return json.text();
}

/// Identifiers become names of files and are shown to people: those that this program did not make count for nothing.
bool isIdentifier(const std::string& text) {
    return text.size() == UUID().description().size() &&
           text.find_first_not_of("0123456789ABCDEF-") == std::string::npos;
}

SQLite::Statement statementFor(const AssetQuery& query, PHAuthorizationStatus status, SQLite::Database& database) {
    std::string sql = "SELECT localIdentifier, creationDate, mediaSubtype, pixelWidth, pixelHeight, file FROM assets";
    if (query.collection)
        sql += " JOIN members ON members.asset = assets.number AND members.collection = "
               "(SELECT number FROM collections WHERE localIdentifier = ?)";
    const bool isDeleted = query.deleted == AssetQuery::Deleted::yes;
    sql += isDeleted ? " WHERE deleted IS NOT NULL" : " WHERE deleted IS NULL";
    if (!isDeleted && status == PHAuthorizationStatus::limited)
        sql += " AND isSelected";
    if (query.identifiers)
        sql += " AND localIdentifier IN (SELECT value FROM json_each(?))";
    if (query.contentHash)
        sql += " AND contentHash = ?";
    if (query.options.predicate)
        sql += " AND " + conditionOf(*query.options.predicate);
    sql += " ORDER BY " + orderOf(query);

    SQLite::Statement statement(database, sql);
    int place = 0;
    if (query.collection)
        statement.bind(++place, *query.collection);
    if (query.identifiers)
        statement.bind(++place, jsonOf(*query.identifiers));
    if (query.contentHash)
        statement.bind(++place, *query.contentHash);
    if (query.options.predicate)
        for (const std::int64_t argument : query.options.predicate->arguments)
            if (place < statement.getBindParameterCount())
                statement.bind(++place, argument);
    return statement;
}

} // namespace

std::vector<PHAsset> assetsOf(const AssetQuery& query, SQLite::Database& database) {
    const PHAuthorizationStatus status = authorizationStatus(database);
    if (query.deleted == AssetQuery::Deleted::no && !isAccessGranted(status))
        return {};
    std::vector<PHAsset> assets;
    SQLite::Statement rows = statementFor(query, status, database);
    while (rows.executeStep()) {
        if (!isIdentifier(rows.getColumn(0).getString()))
            continue;
        const SQLite::Column date = rows.getColumn(1);
        std::string fileName = rows.getColumn(5).getString();
        assets.push_back({.localIdentifier = rows.getColumn(0).getString(),
                          .creationDate = date.isNull() ? std::nullopt : std::optional(Date{date.getDouble()}),
                          .mediaSubtypes = rows.getColumn(2).getInt64(),
                          .pixelWidth = rows.getColumn(3).getInt64(),
                          .pixelHeight = rows.getColumn(4).getInt64(),
                          .fileName = isOriginalName(fileName) ? std::move(fileName) : "unknown"});
    }
    return assets;
}

PHFetchResult fetch(AssetQuery query) {
    struct Found {
        std::vector<PHAsset> assets;
        std::int64_t number = 0;
    };
    auto found = PHPhotoLibrary::shared()->catalogue().read(
        [&](SQLite::Database& database) { return Found{assetsOf(query, database), changeNumber(database)}; });
    if (!found)
        found = Found();
    return {std::move(found->assets), std::make_shared<const AssetQuery>(std::move(query)), found->number};
}

} // namespace platform
