#pragma once

#include <cstdint>

class UStreamBase;

/** The version of a project's layout. */
struct ProjectVersion {
    /** The layout that is written today. */
    static constexpr std::uint16_t Current = 6;
    /** The layout before it, which is converted as it is loaded. */
    static constexpr std::uint16_t Previous = 5;
    /** The last layout of old, which is rewritten before it is loaded. */
    static constexpr std::uint16_t LastOld = 4;

    /** The stream that holds it, never sealed. Projects of the first version have none. */
    static const char* GetVersionInfoStreamName() { return "ProjectVersion"; }

    std::uint16_t number = 0;
};

/** A stream that is too short leaves 0. */
UStreamBase& operator>>(UStreamBase& stream, ProjectVersion& version);
