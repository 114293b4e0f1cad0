#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tests/support/ByteBuilder.h"

/** The types of blocks that an OPUS directory names. */
enum OPUSType : std::uint32_t {
    OPUSRatioedData = 0x100f,   /**< data kind 3, channel class 3, block kind 0 */
    OPUSRatioedStatus = 0x101f, /**< the same with block kind 1 */
    OPUSSampleData = 0x0407,    /**< channel class 1 */
    OPUSSampleStatus = 0x0417,
    OPUSSampleParameters = 0xa0, /**< data kind 0, block kind 10 */
    OPUSDirectory = 0x3400       /**< data kind 0, block kind 0 */
};

/** Builds a parameter block; every operation adds one parameter. */
class OPUSParameters {
public:
    OPUSParameters& Int(const char* name, std::int32_t value) {
        Head(name, 0, 2);
        bytes.I32(value);
        return *this;
    }
    OPUSParameters& Double(const char* name, double value) {
        Head(name, 1, 4);
        bytes.Double(value);
        return *this;
    }
    /** The text with a NUL, filled up to a whole unit of two bytes. */
    OPUSParameters& Text(const char* name, const std::string& value) {
        const int units = static_cast<int>(value.size() / 2 + 1);
        Head(name, 2, units);
        bytes.Field(value, static_cast<std::size_t>(units) * 2);
        return *this;
    }
    OPUSParameters& Raw(const std::string& value) {
        bytes.Text(value);
        return *this;
    }
    OPUSParameters& Head(const char* name, unsigned int type, int length) {
        bytes.Field(name, 3).U8(0).U16(type).I16(length);
        return *this;
    }
    std::string End() {
        Head("END", 0, 0);
        return bytes.Bytes();
    }
    std::string WithoutEnd() const { return bytes.Bytes(); }

private:
    ByteBuilder bytes;
};

/** One block of a file: its type and its bytes. */
struct OPUSBlockBytes {
    std::uint32_t type;
    std::string bytes;
};

/** What the axis of a spectrum's data status block says. */
inline OPUSParameters OPUSStatus(int numPoints, double firstX, double lastX) {
    OPUSParameters status;
    status.Int("DPF", 1).Int("NPT", numPoints).Double("FXV", firstX).Double("LXV", lastX);
    return status;
}

inline std::string OPUSValues(const std::vector<float>& values) {
    ByteBuilder bytes;
    for (const float value : values) {
        bytes.Float(value);
    }
    return bytes.Bytes();
}

/** A file of these blocks: header, directory and then the blocks in their order. */
inline std::string OPUSFile(const std::vector<OPUSBlockBytes>& blocks) {
    const auto count = static_cast<std::int32_t>(blocks.size());
    ByteBuilder file;
    file.Text("\x0a\x0a\xfe\xfe").Double(920622.0).I32(24).I32(count).I32(count);
    std::int32_t offset = 24 + 12 * count;
    for (const OPUSBlockBytes& block : blocks) {
        const auto size = static_cast<std::int32_t>(block.bytes.size());
        file.U32(block.type).I32(size / 4).I32(offset);
        offset += size;
    }
    for (const OPUSBlockBytes& block : blocks) {
        file.Text(block.bytes);
    }
    return file.Bytes();
}

/** A whole file with one spectrum on an even axis. */
struct OPUSBuilder {
    std::vector<float> values = {1.0F, 2.0F, 4.0F};
    double firstX = 100.0;
    double lastX = 102.0;
    std::string units = "WN";
    std::string sampleName = "soil";
    std::string sampleForm = "powder";

    OPUSParameters Status() const {
        OPUSParameters status = OPUSStatus(static_cast<int>(values.size()), firstX, lastX);
        status.Text("DXU", units).Text("DAT", "04/03/2009").Text("TIM", "10:11:12.5");
        return status;
    }
    std::string Sample() const {
        return OPUSParameters().Text("SNM", sampleName).Text("SFM", sampleForm).End();
    }
    std::vector<OPUSBlockBytes> Blocks() const {
        return {{OPUSSampleParameters, Sample()},
                {OPUSRatioedStatus, Status().End()},
                {OPUSRatioedData, OPUSValues(values)}};
    }
    std::string Build() const { return OPUSFile(Blocks()); }
};
