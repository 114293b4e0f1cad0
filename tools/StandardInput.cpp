#include "tools/StandardInput.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "base/Budget.h"
#include "base/OutputFile.h"
#include "base/TemporaryFile.h"
#include "base/UnfinishedFile.h"
#include "tools/Failure.h"
#include "tools/Interrupt.h"

namespace {

constexpr const char* Mark = "-";
constexpr const char* NameForPeople = "standard input";
constexpr std::size_t PieceSize = 1 << 18;

}  // namespace

struct StandardInput::Folder {
    Folder() {
        if (path.empty()) {
            throw Failure("no temporary folder can be made");
        }
        unfinished.Hold(path.c_str());
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    ~Folder() {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }

    const std::string path = MakeTemporaryFolder("karta-import-");
    UnfinishedFile unfinished;
};

StandardInput::StandardInput() = default;

StandardInput::~StandardInput() = default;

void StandardInput::Take(ReadRequest& request) {
    const auto named = std::count(request.files.begin(), request.files.end(), Mark);
    if (named == 0) {
        return;
    }
    if (named > 1) {
        throw Failure("- is standard input, which can be read only once", ExitUsage);
    }
    folder = std::make_unique<Folder>();
    path = folder->path + "/" + NameForPeople;
    karta::Budget budget;
    if (request.limit) {
        budget.SetLimit(*request.limit);
    }
    OutputFile file(path);
    file.SetBudget(&budget);
    std::string piece(PieceSize, '\0');
    try {
        for (;;) {
            Interrupt::ThrowIfRequested();
            const ssize_t count = read(STDIN_FILENO, piece.data(), piece.size());
            if (count < 0 && errno == EINTR) {
                continue;
            }
            if (count < 0) {
                throw Failure(std::string(NameForPeople) + ": " + std::strerror(errno));
            }
            if (count == 0) {
                break;
            }
            file.Write(std::string_view(piece.data(), static_cast<std::size_t>(count)));
        }
    } catch (const karta::BudgetExceeded& exceeded) {
        throw Failure(std::string(NameForPeople) + ": " + exceeded.what());
    }
    if (!file.Commit()) {
        throw Failure(std::string(NameForPeople) + ": could not be kept: " + std::strerror(file.GetError()));
    }
    std::replace(request.files.begin(), request.files.end(), std::string(Mark), path);
    request.standardInput = path;
}

std::string StandardInput::Named(std::string text) const {
    for (std::size_t at = 0; !path.empty() && (at = text.find(path, at)) != std::string::npos;) {
        text.replace(at, path.size(), NameForPeople);
    }
    return text;
}
