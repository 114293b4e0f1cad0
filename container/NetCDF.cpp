#include "container/NetCDF.h"

#include <netcdf.h>

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "container/ClassicHeader.h"
#include "host/MappedFile.h"

namespace {

constexpr int Failed = -1;

// The library takes a name like "http://host/file.nc" to the network; an absolute one is always a file's.
std::string AbsolutePath(const char* path) {
    std::error_code error;
    const std::filesystem::path absolute =
        std::filesystem::weakly_canonical(std::filesystem::absolute(path, error), error);
    return error ? std::string() : absolute.string();
}

}  // namespace

NetCDF::NetCDF(const char* path, Mode mode) {
    // Without this the library's older calls would end the process on any error.
    ncopts = 0;
    const std::string name = AbsolutePath(path);
    if (mode == ModeRead || mode == ModeWrite) {
        const MappedFile file(name.c_str());
        fileSize = file.GetBytes().size();
        if (IsSoundClassicFile(file.GetBytes())) {
            id = ncopen(name.c_str(), mode == ModeRead ? NC_NOWRITE : NC_WRITE);
        }
    } else if (!name.empty()) {
        id = nccreate(name.c_str(), mode == ModeCreate ? NC_CLOBBER : NC_NOCLOBBER);
    }
}

NetCDF::~NetCDF() {
    if (IsOpen()) {
        ncclose(id);
    }
}

int NetCDF::FindVariable(const char* name) const {
    return IsOpen() ? ncvarid(id, name) : Failed;
}

int NetCDF::FindDimension(const char* name) const {
    return IsOpen() ? ncdimid(id, name) : Failed;
}

std::int64_t NetCDF::GetDimension(const char* name) const {
    const int dimension = FindDimension(name);
    long length = 0;
    if (dimension == Failed || ncdiminq(id, dimension, nullptr, &length) == Failed) {
        return Failed;
    }
    return length;
}

bool NetCDF::HasAttribute(int variable, const char* name) const {
    nc_type type = NC_NAT;
    int length = 0;
    return IsOpen() && ncattinq(id, variable, name, &type, &length) != Failed;
}

std::optional<std::string> NetCDF::GetTextAttribute(int variable, const char* name) const {
    nc_type type = NC_NAT;
    int length = 0;
    if (!IsOpen() || ncattinq(id, variable, name, &type, &length) == Failed || type != NC_CHAR) {
        return std::nullopt;
    }
    std::string text(static_cast<std::size_t>(length), '\0');
    if (ncattget(id, variable, name, text.data()) == Failed) {
        return std::nullopt;
    }
    return text.substr(0, text.find('\0'));
}

std::vector<std::size_t> NetCDF::GetShape(int variable) const {
    int count = 0;
    if (!IsOpen() || nc_inq_varndims(id, variable, &count) != NC_NOERR) {
        return {};
    }
    std::vector<int> dimensions(static_cast<std::size_t>(count));
    nc_inq_vardimid(id, variable, dimensions.data());
    std::vector<std::size_t> shape;
    for (const int dimension : dimensions) {
        std::size_t length = 0;
        nc_inq_dimlen(id, dimension, &length);
        shape.push_back(length);
    }
    return shape;
}

bool NetCDF::IsText(int variable) const {
    nc_type type = NC_NAT;
    return IsOpen() && nc_inq_vartype(id, variable, &type) == NC_NOERR && type == NC_CHAR;
}

bool NetCDF::GetFirst(int variable, float& value) const {
    int count = 0;
    if (!IsOpen() || nc_inq_varndims(id, variable, &count) != NC_NOERR) {
        return false;
    }
    const std::vector<std::size_t> index(static_cast<std::size_t>(count) + 1, 0);
    return nc_get_var1_float(id, variable, index.data(), &value) == NC_NOERR;
}

// The library takes as many starts and counts as the variable has dimensions, however few it is given.
bool NetCDF::Holds(int variable, Index start, Index count) const {
    int dimensions = 0;
    if (!IsOpen() || nc_inq_varndims(id, variable, &dimensions) != NC_NOERR) {
        return false;
    }
    const auto used = static_cast<std::size_t>(dimensions);
    if (used > start.size() || used > count.size()) {
        return false;
    }
    const Index unused = count.subspan(used);
    return std::all_of(unused.begin(), unused.end(), [](std::size_t length) { return length == 1; });
}

template <class Value>
int NetCDF::Get(int (*read)(int, int, const std::size_t*, const std::size_t*, Value*), int variable,
                Index start, Index count, Value* values) const {
    if (!Holds(variable, start, count)) {
        return Failed;
    }
    return read(id, variable, start.data(), count.data(), values) == NC_NOERR ? 0 : Failed;
}

int NetCDF::GetValues(int variable, Index start, Index count, unsigned char* values) const {
    return Get(nc_get_vara_uchar, variable, start, count, values);
}

int NetCDF::GetValues(int variable, Index start, Index count, short* values) const {
    return Get(nc_get_vara_short, variable, start, count, values);
}

int NetCDF::GetValues(int variable, Index start, Index count, int* values) const {
    return Get(nc_get_vara_int, variable, start, count, values);
}

int NetCDF::GetValues(int variable, Index start, Index count, float* values) const {
    return Get(nc_get_vara_float, variable, start, count, values);
}

int NetCDF::GetValues(int variable, Index start, Index count, double* values) const {
    return Get(nc_get_vara_double, variable, start, count, values);
}

int NetCDF::GetValues(int variable, Index start, Index count, char* values) const {
    return Get(nc_get_vara_text, variable, start, count, values);
}
