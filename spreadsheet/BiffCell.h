#pragma once

#include <bit>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

/** The ids of BIFF's cell records. What begins with 2 to 4 is of that version and later ones. */
struct BiffCellRecord {
    static constexpr int IntegerOfBiff2 = 0x0002;
    static constexpr int NumberOfBiff2 = 0x0003;
    static constexpr int LabelOfBiff2 = 0x0004;
    static constexpr int BoolErrOfBiff2 = 0x0005;
    static constexpr int Formula = 0x0006;  // of BIFF2, and again from BIFF5 on
    static constexpr int Number = 0x0203;
    static constexpr int Label = 0x0204;
    static constexpr int BoolErr = 0x0205;
    static constexpr int FormulaOfBiff3 = 0x0206;
    static constexpr int FormulaOfBiff4 = 0x0406;
    static constexpr int Rk = 0x027E;
    static constexpr int MulRk = 0x00BD;
    static constexpr int LabelSst = 0x00FD;
    static constexpr int RString = 0x00D6;
};

/** A cell as its record has it; nothing of it is judged yet. */
struct BiffCell {
    enum class Kind : std::uint8_t {
        Number,
        Text,        /**< `count` characters in `bytes` */
        SharedText,  /**< of the shared strings the one at `code` */
        Bool,        /**< `code` is the truth value */
        Error,       /**< `code` is the error's */
        FormulaText, /**< stands in a record behind */
        NoResult     /**< a formula that gave nothing */
    };

    // Row and column not side by side: written one by one and then read together they would have to be waited
    // for.
    Kind kind = Kind::Number;
    bool isFormula = false;
    int row = 0;            /**< from 0 */
    int record = 0;         /**< its id */
    int col = 0;            /**< from 0 */
    int step = 0;           /**< its place in a record of several cells, which begins this far left */
    int lastCol = 0;        /**< where such a record says that it ends */
    int xf = 0;             /**< the number of the cell's format in the list of these */
    bool isOfBiff2 = false; /**< it has three bytes of attributes, the first of them in `xf` */
    int attributes = 0;     /**< the second of them, with the number format */
    double number = 0.0;
    int code = 0;
    int count = 0;
    std::string_view bytes; /**< all that stands behind the count; of the record's, for as long as it stays */
};

/** Takes cell records apart. */
class BiffCellDecoder {
public:
    /**
     * `isBiff2` by the first record of the file. `believesVersion`: that alone, and not the record's id, says
     * whether BIFF2's third attribute byte stands before the value; and any id with the low byte of RSTRING
     * is that.
     */
    void Begin(bool isBiff2File, bool believesVersion);

    /** The cells of a record, with what it holds behind its end as zeros; none for another record. */
    std::span<const BiffCell> Decode(int id, const char* data, int length);

private:
    void ReadHead(int id, const char* data);
    void DecodeNumber(int id, const char* data);
    void DecodeMulRk(const char* data, int length);
    void DecodeFormula(int id, const char* data);
    void DecodeBoolErr(int id, const char* data);
    void DecodeText(int id, const char* data, int length);
    int ShiftOf(int id) const;

    bool isBiff2 = false;
    bool isClassic = false;
    BiffCell cell;                // of a record of one
    std::vector<BiffCell> cells;  // of a record of several
};

/** Little-endian fields of a record's data. */
inline std::uint16_t BiffU16(const char* data, int offset) {
    const auto* const bytes = reinterpret_cast<const std::uint8_t*>(data) + offset;
    return static_cast<std::uint16_t>(bytes[0] | bytes[1] << 8);
}
inline std::int32_t BiffI32(const char* data, int offset) {
    const auto* const bytes = reinterpret_cast<const std::uint8_t*>(data) + offset;
    return static_cast<std::int32_t>(bytes[0] | std::uint32_t{bytes[1]} << 8 | std::uint32_t{bytes[2]} << 16 |
                                     std::uint32_t{bytes[3]} << 24);
}
inline double BiffDouble(const char* data, int offset) {
    const std::uint64_t low = static_cast<std::uint32_t>(BiffI32(data, offset));
    const std::uint64_t high = static_cast<std::uint32_t>(BiffI32(data, offset + 4));
    return std::bit_cast<double>(high << 32 | low);
}
/** The number in an RK field: a whole number or the upper half of a double, perhaps over 100. */
double BiffRk(int rk);
