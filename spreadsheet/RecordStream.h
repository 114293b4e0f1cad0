#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iosfwd>
#include <string>
#include <vector>

/** How much of the records' format a binary part is read by. */
enum class RecordForm {
    /**
     * A length is of one or two bytes, so that one of 16,384 or more, which takes a third in the file, is
     * misread; of a text's 16-bit characters only the low bytes are kept.
     */
    Short,
    /** A length is of up to four bytes, a text UTF-16. */
    Full
};

/**
 * The records of a binary part, one after the other: each an id, a length and its data. Bytes behind a
 * record's data count as zeros, so that every fixed field can be read of any record.
 */
class RecordStream {
public:
    /** The stream stays the caller's. */
    RecordStream(std::istream& partStream, RecordForm recordForm);
    RecordStream(const RecordStream&) = delete;
    RecordStream& operator=(const RecordStream&) = delete;

    /** Reads one record; false at the end of the part, within the last record too, and where it is damaged.
     */
    bool Next() {
        // The road of nearly every record: a byte of each, and the data in the block.
        if (limit - next >= 2) {
            const auto nextId = static_cast<std::uint8_t>(next[0]);
            const auto count = static_cast<std::uint8_t>(next[1]);
            if ((nextId | count) < 0x80 && limit - next - 2 >= count) {
                id = nextId;
                length = count;
                data = next + 2;
                next = data + length;
                return true;
            }
        }
        return ReadNext();
    }
    /** Reads records up to one of this id. */
    bool Find(int wanted);
    /** Reads on to the end, since only there the archive compares the checksum; false for a damaged part. */
    bool IsIntact();
    bool IsDamaged() const { return damaged; }

    int GetId() const { return id; }
    std::size_t GetLength() const { return length; }
    std::uint8_t GetByte(std::size_t offset) const {
        return offset < length ? static_cast<std::uint8_t>(data[offset]) : std::uint8_t{0};
    }
    int GetI2(std::size_t offset) const { return static_cast<std::int16_t>(GetField<2>(offset)); }
    std::int32_t GetI4(std::size_t offset) const { return static_cast<std::int32_t>(GetField<4>(offset)); }
    double GetDouble(std::size_t offset) const { return std::bit_cast<double>(GetField<8>(offset)); }

    /**
     * The text whose count of characters stands at `offset` and which begins behind it, in UTF-8; in the
     * short form its low bytes. False where it can't be one, which leaves `text` as it is: in the short form
     * where its bytes up to the first NUL are more than its characters, in the full one where it outruns the
     * record.
     */
    bool GetText(std::size_t offset, std::string& text) const;

    /** Whether the text there has characters that the short form cuts. */
    bool HasCutCharacters(std::size_t offset) const;

private:
    // No text of a cell comes near; what is longer is of other things, and only its beginning is kept.
    static constexpr std::size_t LongestKept = std::size_t{1} << 20;
    static constexpr std::size_t BlockSize = std::size_t{1} << 16;

    // Little-endian, of as many bytes.
    template <std::size_t Size>
    std::uint64_t GetField(std::size_t offset) const {
        std::uint64_t field = 0;
        if (offset < length && length - offset >= Size && std::endian::native == std::endian::little) {
            std::memcpy(&field, data + offset, Size);
            return field;
        }
        for (std::size_t i = 0; i < Size; ++i) {
            field |= std::uint64_t{GetByte(offset + i)} << (8 * i);
        }
        return field;
    }

    bool ReadNext();
    bool Fill();
    bool ReadNumber(int mostBytes, std::uint32_t& number);
    bool ReadData(std::uint32_t count);
    bool ReadLongData(std::size_t count);
    bool GetShortText(std::size_t begin, std::uint32_t count, std::string& text) const;

    std::istream& stream;
    RecordForm form;
    bool damaged = false;
    int id = 0;
    std::size_t length = 0;      // of what is kept
    const char* data = nullptr;  // in the block, or a long record's own
    std::vector<char> block = std::vector<char>(BlockSize);
    const char* next = block.data();   // what isn't taken yet
    const char* limit = block.data();  // the end of what was read
    std::vector<char> longData;
};
