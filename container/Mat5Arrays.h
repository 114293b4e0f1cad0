#pragma once

#include <map>
#include <memory>
#include <span>
#include <string>
#include <utility>

#include "base/ReadContext.h"
#include "container/MatArrays.h"
#include "container/MatLevel5.h"

/** The arrays of a level 5 file, with those that lie in others. */
class Mat5Arrays : public MatArrays {
public:
    /** Both stay the caller's and must outlive the object. The file has at least its header. */
    Mat5Arrays(std::span<const std::uint8_t> file, karta::ReadContext& readContext);

    int List(std::vector<MatArray>& arrays) override;
    int OpenReal(const MatArray& array, MatNumbers& numbers) override;
    int OpenImaginary(const MatArray& array, MatNumbers& numbers) override;
    std::uint64_t RoomForEntries(const MatArray& array) const override;
    int ReadSparse(const MatArray& array, std::vector<MatEntry>& entries) override;
    int ForEachElement(const MatArray& array, const Visit& visit) override;
    bool IsSoundToTheEnd(const MatArray& array) override;
    std::vector<FileContents::Fact> ListFacts() const override;

    static constexpr std::size_t HeaderSize = 128;
    /** Whether a file's head is that of level 5: the version, and the mark of the byte order behind it. */
    static bool IsLevel5(std::span<const std::uint8_t> file);

private:
    /** One element of the file: an array, plain or compressed. */
    struct Element {
        std::span<const std::uint8_t> bytes;
        bool isCompressed = false;
        bool isCut = false;
    };

    bool FindElements();
    void ListElement(std::size_t number, std::vector<MatArray>& arrays);
    int ListArray(MatArray array, std::vector<MatArray>& arrays);
    int ListElementsOf(const MatArray& array, std::size_t place, std::vector<MatArray>& arrays);
    void CountEntries(MatArray& array);
    bool ReadElementHead(MatArray& array);
    bool IsSparseAfterAll(const MatArray& array);
    std::uint32_t PeekWord();
    MatElementStream& StreamAt(const MatArray& array);
    MatElementStream& OpenElement(std::size_t number);
    Matlab5Reader Reader() { return {*stream, swap, Matlab5Reader::Rules::AsWritten}; }
    int OpenNumbers(const MatArray& array, MatNumbers& numbers);
    std::uint64_t EndOf(const MatArray& array) const;
    std::uint64_t BytesLeft(const MatArray& array) const;
    std::string NameOfElement(const MatArray& array, std::uint64_t place) const;

    std::span<const std::uint8_t> bytes;
    karta::ReadContext& context;
    bool swap = false;
    std::vector<Element> elements;
    /** Where cell arrays and structures end, by element and position, of which more is there than they say.
     */
    std::map<std::pair<std::size_t, std::uint64_t>, std::uint64_t> longerEnds;
    std::size_t openElement = 0;
    std::unique_ptr<MatElementStream> stream;  // of the open element
    // Of the numbers opened last: where they end and what follows them.
    std::uint64_t numbersEnd = 0;
    unsigned int numbersAlignment = 8;
};
