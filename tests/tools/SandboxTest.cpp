#include "tools/Sandbox.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <functional>
#include <thread>

#include "tests/support/TempFolder.h"

namespace {

// What a try gives in a child that has entered the sandbox first: 0 it went, else the system's number of why
// not.
int InSandbox(const Sandbox::Folders& folders, const std::function<int()>& attempt) {
    const pid_t child = fork();
    if (child == 0) {
        const std::string missing = Sandbox::Enter(folders);
        _exit(missing.empty() ? attempt() : 255);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 254;
}

int OpenResult(const std::string& path, int flags) {
    const int descriptor = open(path.c_str(), flags, 0600);
    return descriptor < 0 ? errno : 0;
}

constexpr int NotThere = 255;

class SandboxTest : public testing::Test {
protected:
    void SetUp() override {
        if (!Sandbox::IsPossible() || InSandbox({}, [] { return 0; }) == NotThere) {
            GTEST_SKIP() << "this build or this kernel has no sandbox";
        }
    }

    TempFolder inputs;
    TempFolder outputs;
    TempFolder others;
};

}  // namespace

TEST_F(SandboxTest, InputsAreReadAndNothingElse) {
    const std::string input = inputs.Write("in.txt", "x");
    const std::string secret = others.Write("secret.txt", "x");
    const Sandbox::Folders folders{{inputs.Path("")}, {outputs.Path("")}};
    EXPECT_EQ(InSandbox(folders, [&] { return OpenResult(input, O_RDONLY); }), 0);
    EXPECT_EQ(InSandbox(folders, [&] { return OpenResult(input, O_WRONLY); }), EACCES);
    EXPECT_EQ(InSandbox(folders, [&] { return OpenResult(secret, O_RDONLY); }), EACCES);
    EXPECT_EQ(InSandbox(folders, [&] { return OpenResult(inputs.Path("new"), O_WRONLY | O_CREAT); }), EACCES);
}

TEST_F(SandboxTest, OutputFolderIsWritten) {
    const Sandbox::Folders folders{{inputs.Path("")}, {outputs.Path("")}};
    EXPECT_EQ(InSandbox(folders,
                        [&] {
                            const std::string from = outputs.Path("growing");
                            if (const int error = OpenResult(from, O_WRONLY | O_CREAT)) {
                                return error;
                            }
                            return rename(from.c_str(), outputs.Path("whole").c_str()) == 0 ? 0 : errno;
                        }),
              0);
    EXPECT_TRUE(std::filesystem::exists(outputs.Path("whole")));
}

TEST_F(SandboxTest, NoSocketIsOpened) {
    EXPECT_EQ(InSandbox({}, [] { return socket(AF_INET, SOCK_STREAM, 0) < 0 ? errno : 0; }), EPERM);
    EXPECT_EQ(InSandbox({}, [] { return socket(AF_UNIX, SOCK_STREAM, 0) < 0 ? errno : 0; }), EPERM);
}

TEST_F(SandboxTest, NoRingStandsInForTheCalls) {
    EXPECT_EQ(InSandbox({}, [] { return syscall(SYS_io_uring_setup, 1, nullptr) < 0 ? errno : 0; }), EPERM);
}

TEST_F(SandboxTest, NoProgramIsStarted) {
    EXPECT_EQ(InSandbox({},
                        [] {
                            execl("/bin/true", "true", nullptr);
                            return errno;
                        }),
              EPERM);
}

TEST_F(SandboxTest, ThreadsGoOn) {
    EXPECT_EQ(InSandbox({},
                        [] {
                            int result = 1;
                            std::thread([&] { result = 0; }).join();
                            return result;
                        }),
              0);
}
