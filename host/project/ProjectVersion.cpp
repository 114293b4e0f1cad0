#include "host/project/ProjectVersion.h"

#include "host/project/UStreamBase.h"

UStreamBase& operator>>(UStreamBase& stream, ProjectVersion& version) {
    version.number = stream.ReadNumber<std::uint16_t>();
    return stream;
}
