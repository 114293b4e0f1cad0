#pragma once

#include <span>

#include "base/ReadContext.h"
#include "container/MatArrays.h"
#include "container/MatLevel4.h"

/** The matrices of a level 4 file. */
class Mat4Arrays : public MatArrays {
public:
    /** Both stay the caller's and must outlive the object. */
    Mat4Arrays(std::span<const std::uint8_t> file, karta::ReadContext& readContext);

    int List(std::vector<MatArray>& arrays) override;
    int OpenReal(const MatArray& array, MatNumbers& numbers) override;
    int OpenImaginary(const MatArray& array, MatNumbers& numbers) override;
    std::uint64_t RoomForEntries(const MatArray& array) const override;
    int ReadSparse(const MatArray& array, std::vector<MatEntry>& entries) override;
    std::vector<FileContents::Fact> ListFacts() const override;

    /** Whether a file's first bytes may be a matrix's header. */
    static bool MayBeLevel4(std::span<const std::uint8_t> head);
    /** Whether a file is nothing but matrices of level 4, each with a name. */
    static bool IsLevel4(std::span<const std::uint8_t> file);

private:
    MatArray Describe(const MatHeader& header);
    void DescribeSparse(const MatHeader& header, MatArray& array);
    const MatHeader& HeaderOf(const MatArray& array) const;
    MatNumbers NumbersAt(const MatHeader& header, std::uint64_t first, std::uint64_t count);

    std::span<const std::uint8_t> bytes;
    karta::ReadContext& context;
    Matlab4Reader reader;
    MatPlainStream stream;
};
