#pragma once

#include <cstring>
#include <string_view>

#include "base/ShortNumber.h"

/** The fields of a line one after the other, parted by single tabs; an empty line has none. */
class TabWalk {
public:
    /** The line must outlive the walk. */
    explicit TabWalk(std::string_view line)
        : rest(line.data()), end(line.data() + line.size()), isMore(!line.empty()) {}

    /** What is left of the line: the next field and all behind it. */
    std::string_view GetRest() const { return {rest, static_cast<std::size_t>(end - rest)}; }
    bool HasNext() const { return isMore; }

    /** The next field; false where there is none. */
    bool Next(std::string_view& field) {
        if (!isMore) {
            return false;
        }
        const char* const tab =
            rest == end
                ? nullptr
                : static_cast<const char*>(std::memchr(rest, '\t', static_cast<std::size_t>(end - rest)));
        isMore = tab != nullptr;
        const char* const fieldEnd = isMore ? tab : end;
        field = {rest, static_cast<std::size_t>(fieldEnd - rest)};
        rest = isMore ? tab + 1 : end;
        ++taken;
        return true;
    }

    /** Goes on to a field by its number from 1; each call asks for a later one. False where there is none. */
    bool MoveTo(int number, std::string_view& field) {
        while (taken < number) {
            if (!Next(field)) {
                return false;
            }
        }
        return true;
    }

    /** The next field, where it has this number and is a short plain one itself; else takes nothing. */
    bool TakeNumber(int number, double& value) {
        if (taken + 1 != number) {
            return false;
        }
        const char* const tab = TakeShortNumber(rest, end, '\t', value);
        if (tab == nullptr) {
            return false;
        }
        rest = tab + 1;
        ++taken;
        return true;
    }

private:
    const char* rest;
    const char* end;
    bool isMore;
    int taken = 0;
};
