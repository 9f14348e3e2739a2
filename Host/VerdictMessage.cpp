#include "Host/VerdictMessage.hpp"

#include "Host/Message.hpp"

#include <cstdlib>

namespace host {

namespace {

std::string number(std::int64_t value) {
    return std::to_string(value);
}

std::string placeOf(std::int64_t offset) {
    const std::string rows = number(std::abs(offset));
    return offset < 0 ? message("{} rows above", {rows}) : message("{} rows below", {rows});
}

} // namespace

std::string verdictMessage(const orbelquist::KSVVerdict& verdict) {
    using enum orbelquist::KSVVerdict::Kind;
    switch (verdict.kind) {
    case unreadable:
        return message("one of the two cannot be read");
    case otherWidth:
        return message("their widths differ");
    case matched: {
        const std::string place = placeOf(verdict.offset), rows = number(verdict.rows);
        if (verdict.contradicting == 0)
            return message("the second starts {} the first; {} rows of the page agree", {place, rows});
        return message(
            "the second starts {} the first; {} rows of the page agree, with {} of {} pieces covered or changed",
            {place, rows, number(verdict.contradicting), number(verdict.agreeing + verdict.contradicting)});
    }
    case byNeighbours:
        return message("the second starts {} the first, as the screenshots beside them tell",
                       {placeOf(verdict.offset)});
    case sameView:
        return message("they show the same rows");
    case unpinnedView:
        return message("they show the same rows, but these are blank or repeat, so that the offset is open");
    case nothingCommon:
        return message("no rows in common");
    case contradicted:
        return message("no rows in common for certain: at the likeliest place, {}, {} pieces agree and {} do not",
                       {placeOf(verdict.offset), number(verdict.agreeing), number(verdict.contradicting)});
    case open:
        return message("two offsets fit equally well, {} and {}: a list that repeats every {} rows?",
                       {placeOf(verdict.offset), placeOf(verdict.otherOffset),
                        number(std::abs(verdict.offset - verdict.otherOffset))});
    case repeated:
        return message(
            "all {} rows that agree, {}, occur a second time in one of them: they may be another part of the page",
            {number(verdict.rows), placeOf(verdict.offset)});
    case crept:
        break;
    }
    return message("the page may have moved by a few rows only, or by {}", {number(std::abs(verdict.offset))});
}

} // namespace host
