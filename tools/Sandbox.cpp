#include "tools/Sandbox.h"

#include <fcntl.h>
#include <linux/landlock.h>
#include <seccomp.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <initializer_list>

namespace {

// Rights that are newer than the header may be.
constexpr std::uint64_t RightTruncate = 1ULL << 14;
constexpr int VersionWithTruncate = 3;

constexpr std::uint64_t ReadRights = LANDLOCK_ACCESS_FS_READ_FILE | LANDLOCK_ACCESS_FS_READ_DIR;
constexpr std::uint64_t WriteRights = LANDLOCK_ACCESS_FS_WRITE_FILE | LANDLOCK_ACCESS_FS_MAKE_REG |
                                      LANDLOCK_ACCESS_FS_MAKE_DIR | LANDLOCK_ACCESS_FS_REMOVE_FILE |
                                      LANDLOCK_ACCESS_FS_REMOVE_DIR;
// Never needed here, and so never given.
constexpr std::uint64_t OtherRights = LANDLOCK_ACCESS_FS_EXECUTE | LANDLOCK_ACCESS_FS_MAKE_CHAR |
                                      LANDLOCK_ACCESS_FS_MAKE_SOCK | LANDLOCK_ACCESS_FS_MAKE_FIFO |
                                      LANDLOCK_ACCESS_FS_MAKE_BLOCK | LANDLOCK_ACCESS_FS_MAKE_SYM;
// Those that make sense for a file alone.
constexpr std::uint64_t FileRights =
    LANDLOCK_ACCESS_FS_READ_FILE | LANDLOCK_ACCESS_FS_WRITE_FILE | RightTruncate;

// Libraries and their data, time zones, the names of encodings, devices that give zeros, nothing, randomness.
constexpr const char* SystemFolders[] = {"/usr", "/lib",       "/lib64",
                                         "/etc", "/proc/self", "/sys/devices/system/cpu"};
constexpr const char* SystemFiles[] = {"/dev/null",    "/dev/zero",   "/dev/full",
                                       "/dev/urandom", "/dev/random", "/dev/tty"};

/** A set of rules for what may be read and written, closed with the object. */
class Rules {
public:
    Rules() {
        const long version =
            syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION);
        if (version < 1) {
            return;
        }
        truncate = version >= VersionWithTruncate ? RightTruncate : 0;
        const landlock_ruleset_attr attributes{ReadRights | WriteRights | OtherRights | truncate};
        descriptor = static_cast<int>(
            syscall(SYS_landlock_create_ruleset, &attributes, sizeof attributes.handled_access_fs, 0));
    }
    Rules(const Rules&) = delete;
    Rules& operator=(const Rules&) = delete;
    ~Rules() {
        if (descriptor >= 0) {
            close(descriptor);
        }
    }

    bool IsOpen() const { return descriptor >= 0; }

    void AllowReading(const std::string& path) { Allow(path, ReadRights); }
    void AllowWriting(const std::string& path) { Allow(path, ReadRights | WriteRights | truncate); }

    bool Apply() { return syscall(SYS_landlock_restrict_self, descriptor, 0) == 0; }

private:
    void Allow(const std::string& path, std::uint64_t rights) {
        const int place = open(path.c_str(), O_PATH | O_CLOEXEC);
        struct stat info{};
        if (place < 0) {
            return;
        }
        if (fstat(place, &info) == 0) {
            landlock_path_beneath_attr rule{};
            rule.allowed_access = S_ISDIR(info.st_mode) ? rights : rights & FileRights;
            rule.parent_fd = place;
            syscall(SYS_landlock_add_rule, descriptor, LANDLOCK_RULE_PATH_BENEATH, &rule, 0);
        }
        close(place);
    }

    int descriptor = -1;
    std::uint64_t truncate = 0;
};

bool RestrictFiles(const Sandbox::Folders& folders) {
    Rules rules;
    if (!rules.IsOpen()) {
        return false;
    }
    for (const char* folder : SystemFolders) {
        rules.AllowReading(folder);
    }
    for (const char* file : SystemFiles) {
        rules.AllowWriting(file);
    }
    for (const std::string& folder : folders.readable) {
        rules.AllowReading(folder);
    }
    for (const std::string& folder : folders.writable) {
        rules.AllowWriting(folder);
    }
    return rules.Apply();
}

// No new program, no socket, nothing done to other processes or the system: each such call is answered by
// "not permitted", as for a user who mayn't.
bool RestrictCalls() {
    scmp_filter_ctx filter = seccomp_init(SCMP_ACT_ALLOW);
    if (filter == nullptr) {
        return false;
    }
    bool isWhole = true;
    for (const int call :
         {SCMP_SYS(execve), SCMP_SYS(execveat), SCMP_SYS(socket), SCMP_SYS(socketpair), SCMP_SYS(connect),
          SCMP_SYS(bind), SCMP_SYS(listen), SCMP_SYS(accept), SCMP_SYS(accept4),
          // A ring does without a call what the calls above are for.
          SCMP_SYS(io_uring_setup), SCMP_SYS(io_uring_enter), SCMP_SYS(io_uring_register), SCMP_SYS(ptrace),
          SCMP_SYS(process_vm_readv), SCMP_SYS(process_vm_writev), SCMP_SYS(mount), SCMP_SYS(umount2),
          SCMP_SYS(pivot_root), SCMP_SYS(chroot), SCMP_SYS(bpf), SCMP_SYS(perf_event_open), SCMP_SYS(keyctl),
          SCMP_SYS(add_key), SCMP_SYS(request_key), SCMP_SYS(init_module), SCMP_SYS(finit_module),
          SCMP_SYS(kexec_load), SCMP_SYS(userfaultfd), SCMP_SYS(unshare), SCMP_SYS(setns)}) {
        isWhole = seccomp_rule_add(filter, SCMP_ACT_ERRNO(EPERM), call, 0) == 0 && isWhole;
    }
    isWhole = seccomp_load(filter) == 0 && isWhole;
    seccomp_release(filter);
    return isWhole;
}

}  // namespace

std::string Sandbox::Enter(const Folders& folders) {
    // Both want this first: no program that is started can gain rights again.
    if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0) {
        return std::string("no sandbox: ") + std::strerror(errno);
    }
    std::string missing;
    if (!RestrictFiles(folders)) {
        missing = "the sandbox doesn't cover files: this kernel has no Landlock";
    }
    if (!RestrictCalls()) {
        missing +=
            std::string(missing.empty() ? "" : "; ") + "the sandbox doesn't cover sockets and programs";
    }
    return missing;
}

bool Sandbox::IsPossible() {
#ifdef KARTA_WITHOUT_SANDBOX
    return false;
#else
    return true;
#endif
}
