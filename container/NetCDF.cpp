#include "container/NetCDF.h"

#include <netcdf.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <mutex>
#include <new>
#include <system_error>

#include "base/LazyLibrary.h"
#include "base/MappedFile.h"
#include "container/ClassicHeader.h"

namespace {

constexpr int Failed = -1;

// The setting without which the library's older calls would end the process on any error.
constexpr int NoAborts = 0;

// The library keeps its open files and its settings in variables of its own, without a lock.
std::mutex& LibraryLock() {
    static std::mutex lock;
    return lock;
}

/** What is called of the library, which the classic reading of netCDF files alone needs. */
struct NetCDFLibrary {
    LazyLibrary library{KARTA_NETCDF_LIBRARY};
    int* ncopts = library.Find<int>("ncopts");
    decltype(&::nc_open) nc_open = library.Find<decltype(::nc_open)>("nc_open");
    decltype(&::nc_inq_dimlen) nc_inq_dimlen = library.Find<decltype(::nc_inq_dimlen)>("nc_inq_dimlen");
    decltype(&::nc_inq_vardimid) nc_inq_vardimid =
        library.Find<decltype(::nc_inq_vardimid)>("nc_inq_vardimid");
    decltype(&::nc_inq_varndims) nc_inq_varndims =
        library.Find<decltype(::nc_inq_varndims)>("nc_inq_varndims");
    decltype(&::nc_inq_vartype) nc_inq_vartype = library.Find<decltype(::nc_inq_vartype)>("nc_inq_vartype");
    decltype(&::nc_get_var1_float) nc_get_var1_float =
        library.Find<decltype(::nc_get_var1_float)>("nc_get_var1_float");
    decltype(&::nc_get_vara_uchar) nc_get_vara_uchar =
        library.Find<decltype(::nc_get_vara_uchar)>("nc_get_vara_uchar");
    decltype(&::nc_get_vara_short) nc_get_vara_short =
        library.Find<decltype(::nc_get_vara_short)>("nc_get_vara_short");
    decltype(&::nc_get_vara_int) nc_get_vara_int =
        library.Find<decltype(::nc_get_vara_int)>("nc_get_vara_int");
    decltype(&::nc_get_vara_float) nc_get_vara_float =
        library.Find<decltype(::nc_get_vara_float)>("nc_get_vara_float");
    decltype(&::nc_get_vara_double) nc_get_vara_double =
        library.Find<decltype(::nc_get_vara_double)>("nc_get_vara_double");
    decltype(&::nc_get_vara_text) nc_get_vara_text =
        library.Find<decltype(::nc_get_vara_text)>("nc_get_vara_text");
    decltype(&::ncattget) ncattget = library.Find<decltype(::ncattget)>("ncattget");
    decltype(&::ncattinq) ncattinq = library.Find<decltype(::ncattinq)>("ncattinq");
    decltype(&::ncclose) ncclose = library.Find<decltype(::ncclose)>("ncclose");
    decltype(&::nccreate) nccreate = library.Find<decltype(::nccreate)>("nccreate");
    decltype(&::ncdimid) ncdimid = library.Find<decltype(::ncdimid)>("ncdimid");
    decltype(&::ncdiminq) ncdiminq = library.Find<decltype(::ncdiminq)>("ncdiminq");
    decltype(&::ncvarid) ncvarid = library.Find<decltype(::ncvarid)>("ncvarid");
};

const NetCDFLibrary& Library() {
    static const NetCDFLibrary library;
    return library;
}

// The library takes a name like "http://host/file.nc" to the network; an absolute one is always a file's.
std::string AbsolutePath(const char* path) {
    std::error_code error;
    const std::filesystem::path absolute =
        std::filesystem::weakly_canonical(std::filesystem::absolute(path, error), error);
    if (error == std::errc::not_enough_memory) {
        throw std::bad_alloc();
    }
    return error ? std::string() : absolute.string();
}

// Make a call of the library. Where memory has run out it tells of a name that isn't there, say; what could
// be read with more memory must not seem to be missing.
template <class Call>
int Checked(Call call) {
    const std::lock_guard guard(LibraryLock());
    errno = 0;
    const int status = call();
    // A status above 0 is an errno, which the library may have overwritten since.
    if (status == NC_ENOMEM || status == ENOMEM || (status != NC_NOERR && errno == ENOMEM)) {
        throw std::bad_alloc();
    }
    return status;
}

// The same for the older calls, whose answer is a number or -1.
template <class Call>
int CheckedOld(Call call) {
    const std::lock_guard guard(LibraryLock());
    errno = 0;
    const int answer = call();
    if (answer == Failed && errno == ENOMEM) {
        throw std::bad_alloc();
    }
    return answer;
}

}  // namespace

NetCDF::NetCDF(const char* path, Mode mode) {
    const std::string name = AbsolutePath(path);
    if (mode == ModeRead || mode == ModeWrite) {
        const MappedFile file(name.c_str());
        fileSize = file.GetBytes().size();
        if (IsSoundClassicFile(file.GetBytes())) {
            Open(name, mode);
        }
    } else if (!name.empty()) {
        const std::lock_guard guard(LibraryLock());
        *Library().ncopts = NoAborts;
        id = Library().nccreate(name.c_str(), mode == ModeCreate ? NC_CLOBBER : NC_NOCLOBBER);
    }
}

void NetCDF::Open(const std::string& name, Mode mode) {
    // Not by the older ncopen, which tells no memory from no file.
    int opened = Failed;
    const int status = Checked([&] {
        *Library().ncopts = NoAborts;
        return Library().nc_open(name.c_str(), mode == ModeRead ? NC_NOWRITE : NC_WRITE, &opened);
    });
    if (status == NC_NOERR) {
        id = opened;
    }
}

NetCDF::~NetCDF() {
    if (IsOpen()) {
        const std::lock_guard guard(LibraryLock());
        Library().ncclose(id);
    }
}

int NetCDF::FindVariable(const char* name) const {
    return IsOpen() ? CheckedOld([&] { return Library().ncvarid(id, name); }) : Failed;
}

int NetCDF::FindDimension(const char* name) const {
    return IsOpen() ? CheckedOld([&] { return Library().ncdimid(id, name); }) : Failed;
}

std::int64_t NetCDF::GetDimension(const char* name) const {
    const int dimension = FindDimension(name);
    long length = 0;
    if (dimension == Failed ||
        CheckedOld([&] { return Library().ncdiminq(id, dimension, nullptr, &length); }) == Failed) {
        return Failed;
    }
    return length;
}

bool NetCDF::HasAttribute(int variable, const char* name) const {
    nc_type type = NC_NAT;
    int length = 0;
    return IsOpen() &&
           CheckedOld([&] { return Library().ncattinq(id, variable, name, &type, &length); }) != Failed;
}

std::optional<std::string> NetCDF::GetTextAttribute(int variable, const char* name) const {
    nc_type type = NC_NAT;
    int length = 0;
    if (!IsOpen() ||
        CheckedOld([&] { return Library().ncattinq(id, variable, name, &type, &length); }) == Failed ||
        type != NC_CHAR) {
        return std::nullopt;
    }
    std::string text(static_cast<std::size_t>(length), '\0');
    if (CheckedOld([&] { return Library().ncattget(id, variable, name, text.data()); }) == Failed) {
        return std::nullopt;
    }
    return text.substr(0, text.find('\0'));
}

std::vector<std::size_t> NetCDF::GetShape(int variable) const {
    int count = 0;
    if (!IsOpen() || Checked([&] { return Library().nc_inq_varndims(id, variable, &count); }) != NC_NOERR) {
        return {};
    }
    std::vector<int> dimensions(static_cast<std::size_t>(count));
    Checked([&] { return Library().nc_inq_vardimid(id, variable, dimensions.data()); });
    std::vector<std::size_t> shape;
    for (const int dimension : dimensions) {
        std::size_t length = 0;
        Checked([&] { return Library().nc_inq_dimlen(id, dimension, &length); });
        shape.push_back(length);
    }
    return shape;
}

bool NetCDF::IsText(int variable) const {
    nc_type type = NC_NAT;
    return IsOpen() && Checked([&] { return Library().nc_inq_vartype(id, variable, &type); }) == NC_NOERR &&
           type == NC_CHAR;
}

bool NetCDF::GetFirst(int variable, float& value) const {
    int count = 0;
    if (!IsOpen() || Checked([&] { return Library().nc_inq_varndims(id, variable, &count); }) != NC_NOERR) {
        return false;
    }
    const std::vector<std::size_t> index(static_cast<std::size_t>(count) + 1, 0);
    return Checked([&] { return Library().nc_get_var1_float(id, variable, index.data(), &value); }) ==
           NC_NOERR;
}

// The library takes as many starts and counts as the variable has dimensions, however few it is given.
bool NetCDF::Holds(int variable, Index start, Index count) const {
    int dimensions = 0;
    if (!IsOpen() ||
        Checked([&] { return Library().nc_inq_varndims(id, variable, &dimensions); }) != NC_NOERR) {
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
    return Checked([&] { return read(id, variable, start.data(), count.data(), values); }) == NC_NOERR
               ? 0
               : Failed;
}

int NetCDF::GetValues(int variable, Index start, Index count, unsigned char* values) const {
    return Get(Library().nc_get_vara_uchar, variable, start, count, values);
}

int NetCDF::GetValues(int variable, Index start, Index count, short* values) const {
    return Get(Library().nc_get_vara_short, variable, start, count, values);
}

int NetCDF::GetValues(int variable, Index start, Index count, int* values) const {
    return Get(Library().nc_get_vara_int, variable, start, count, values);
}

int NetCDF::GetValues(int variable, Index start, Index count, float* values) const {
    return Get(Library().nc_get_vara_float, variable, start, count, values);
}

int NetCDF::GetValues(int variable, Index start, Index count, double* values) const {
    return Get(Library().nc_get_vara_double, variable, start, count, values);
}

int NetCDF::GetValues(int variable, Index start, Index count, char* values) const {
    return Get(Library().nc_get_vara_text, variable, start, count, values);
}
