#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "base/Budget.h"
#include "base/Export.h"
#include "base/UnfinishedFile.h"

/**
 * A file being written. It grows under another name in the same folder and takes its own name only in
 * Commit, so that a write that fails leaves an older file whole. What isn't committed is removed by the
 * destructor. A name that is no regular file (a device, a pipe) is written directly.
 */
class KARTA_EXPORT OutputFile {
public:
    OutputFile() = default;
    /** Check HasFailed afterwards. */
    explicit OutputFile(const std::string& path);
    /** Writes to what is open already, standard output for instance, which stays open. */
    explicit OutputFile(int openDescriptor);
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;
    ~OutputFile();

    /** True once opening or writing failed (a full disk, a read-only folder). */
    bool HasFailed() const { return failed; }

    /** The system's number (errno) of what failed first; 0 while nothing did. */
    int GetError() const { return error; }

    /**
     * What is written is charged to this before; beyond it Write raises karta::BudgetExceeded, and the older
     * file stays. The budget must outlive this object, or be taken away with null.
     */
    void SetBudget(karta::Budget* newBudget) { budget = newBudget; }

    /**
     * Raises karta::BudgetExceeded where so many more bytes would be beyond the budget: for who knows before
     * the first of them how many they are.
     */
    void Expect(std::uint64_t bytes) const;

    void Write(std::string_view bytes);
    void Write(char byte) { Write(std::string_view(&byte, 1)); }

    /** Writes what is still buffered and puts the file in place. False: nothing was put in place. */
    bool Commit();

private:
    void OpenBeside(const std::string& path);
    void Flush();
    void Put(std::string_view bytes);
    void Fail();
    void Discard();

    std::string target;
    std::string temporary;      // empty when written directly
    UnfinishedFile unfinished;  // holds `temporary`
    int descriptor = -1;
    bool failed = true;
    int error = 0;
    std::string buffer;
    karta::Budget* budget = nullptr;
};
