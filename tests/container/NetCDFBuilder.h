#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tests/support/ByteBuilder.h"

/** Values of one type, as they stand in a netCDF file. */
struct NetCDFValues {
    std::uint32_t type;
    std::uint32_t count;
    std::string bytes;
};

inline NetCDFValues Chars(std::string_view text) {
    return {2, static_cast<std::uint32_t>(text.size()), std::string(text)};
}
inline NetCDFValues Bytes(std::string_view bytes) {
    return {1, static_cast<std::uint32_t>(bytes.size()), std::string(bytes)};
}
template <class Number>
NetCDFValues NetCDFNumbers(std::uint32_t type, const std::vector<Number>& numbers) {
    ByteBuilder bytes;
    for (const Number number : numbers) {
        bytes.PutBig(number);
    }
    return {type, static_cast<std::uint32_t>(numbers.size()), bytes.Bytes()};
}
inline NetCDFValues Shorts(const std::vector<std::int16_t>& numbers) {
    return NetCDFNumbers(3, numbers);
}
inline NetCDFValues Ints(const std::vector<std::int32_t>& numbers) {
    return NetCDFNumbers(4, numbers);
}
inline NetCDFValues Floats(const std::vector<float>& numbers) {
    return NetCDFNumbers(5, numbers);
}
inline NetCDFValues Doubles(const std::vector<double>& numbers) {
    return NetCDFNumbers(6, numbers);
}

/** Builds a netCDF file of the classic format (version 1) or with 64-bit offsets (version 2). */
class NetCDFBuilder {
public:
    explicit NetCDFBuilder(unsigned fileVersion = 1) : version(fileVersion) {}

    /** A length of 0 is the record dimension. */
    NetCDFBuilder& Dimension(const std::string& name, std::uint32_t length) {
        dimensions.emplace_back(name, length);
        return *this;
    }
    /** Of the file until the first variable, then of the last variable. */
    NetCDFBuilder& Attribute(const std::string& name, NetCDFValues values) {
        (variables.empty() ? attributes : variables.back().attributes).emplace_back(name, std::move(values));
        return *this;
    }
    /** The values of a variable along the record dimension are those of all records, one after the other. */
    NetCDFBuilder& Variable(const std::string& name, const std::vector<std::string>& shape,
                            NetCDFValues values) {
        variables.push_back({name, shape, std::move(values), {}});
        return *this;
    }
    NetCDFBuilder& Records(std::uint32_t count) {
        records = count;
        return *this;
    }
    NetCDFBuilder& Without(const std::string& name) {
        const auto isNamed = [&](const auto& item) { return item.first == name; };
        std::erase_if(dimensions, isNamed);
        std::erase_if(attributes, isNamed);
        std::erase_if(variables, [&](const Item& item) { return item.name == name; });
        return *this;
    }
    /** Values in the place of a variable's or a global attribute's. */
    NetCDFBuilder& Replace(const std::string& name, const NetCDFValues& values) {
        for (Item& item : variables) {
            item.values = item.name == name ? values : item.values;
        }
        for (auto& attribute : attributes) {
            attribute.second = attribute.first == name ? values : attribute.second;
        }
        return *this;
    }
    NetCDFBuilder& ReplaceDimension(const std::string& name, std::uint32_t length) {
        for (auto& dimension : dimensions) {
            dimension.second = dimension.first == name ? length : dimension.second;
        }
        return *this;
    }

    std::string File() const {
        std::vector<std::size_t> begins(variables.size(), 0);
        std::size_t end = Header(begins).Size();
        // Fixed variables first, then the records.
        for (std::size_t i = 0; i < variables.size(); ++i) {
            if (!IsRecord(variables[i])) {
                begins[i] = end;
                end += Aligned(variables[i].values.bytes.size());
            }
        }
        const std::size_t firstRecord = end;
        for (std::size_t i = 0; i < variables.size(); ++i) {
            if (IsRecord(variables[i])) {
                begins[i] = end;
                end += RecordPiece(variables[i]);
            }
        }
        return Header(begins).Bytes() + FixedData() + RecordData(end - firstRecord);
    }

private:
    using Attributes = std::vector<std::pair<std::string, NetCDFValues>>;
    struct Item {
        std::string name;
        std::vector<std::string> shape;
        NetCDFValues values;
        Attributes attributes;
    };

    static std::size_t Aligned(std::size_t size) { return (size + 3) / 4 * 4; }

    std::uint32_t DimensionNumber(const std::string& name) const {
        std::uint32_t number = 0;
        while (number < dimensions.size() && dimensions[number].first != name) {
            ++number;
        }
        return number;
    }
    bool IsRecord(const Item& item) const {
        if (item.shape.empty()) {
            return false;
        }
        const std::uint32_t first = DimensionNumber(item.shape.front());
        return first < dimensions.size() && dimensions[first].second == 0;
    }
    std::size_t RecordBytes(const Item& item) const {
        return records == 0 ? 0 : item.values.bytes.size() / records;
    }
    // A record variable alone isn't aligned.
    std::size_t RecordPiece(const Item& item) const {
        std::size_t count = 0;
        for (const Item& other : variables) {
            count += IsRecord(other) ? 1 : 0;
        }
        return count == 1 ? RecordBytes(item) : Aligned(RecordBytes(item));
    }

    static void PutName(ByteBuilder& bytes, const std::string& name) {
        bytes.PutBig(static_cast<std::uint32_t>(name.size())).Field(name, Aligned(name.size()));
    }
    static void PutList(ByteBuilder& bytes, std::uint32_t tag, std::size_t count) {
        bytes.PutBig(count == 0 ? 0U : tag).PutBig(static_cast<std::uint32_t>(count));
    }
    static void PutAttributes(ByteBuilder& bytes, const Attributes& list) {
        PutList(bytes, 12, list.size());
        for (const auto& [name, values] : list) {
            PutName(bytes, name);
            bytes.PutBig(values.type).PutBig(values.count);
            bytes.Field(values.bytes, Aligned(values.bytes.size()));
        }
    }
    ByteBuilder Header(const std::vector<std::size_t>& begins) const {
        ByteBuilder bytes;
        bytes.Text("CDF").U8(version).PutBig(records);
        PutList(bytes, 10, dimensions.size());
        for (const auto& [name, length] : dimensions) {
            PutName(bytes, name);
            bytes.PutBig(length);
        }
        PutAttributes(bytes, attributes);
        PutList(bytes, 11, variables.size());
        for (std::size_t i = 0; i < variables.size(); ++i) {
            const Item& item = variables[i];
            PutName(bytes, item.name);
            bytes.PutBig(static_cast<std::uint32_t>(item.shape.size()));
            for (const std::string& dimension : item.shape) {
                bytes.PutBig(DimensionNumber(dimension));
            }
            PutAttributes(bytes, item.attributes);
            const std::size_t size = IsRecord(item) ? RecordBytes(item) : item.values.bytes.size();
            bytes.PutBig(item.values.type).PutBig(static_cast<std::uint32_t>(Aligned(size)));
            if (version == 2) {
                bytes.PutBig(static_cast<std::uint64_t>(begins[i]));
            } else {
                bytes.PutBig(static_cast<std::uint32_t>(begins[i]));
            }
        }
        return bytes;
    }
    std::string FixedData() const {
        ByteBuilder bytes;
        for (const Item& item : variables) {
            if (!IsRecord(item)) {
                bytes.Field(item.values.bytes, Aligned(item.values.bytes.size()));
            }
        }
        return bytes.Bytes();
    }
    std::string RecordData(std::size_t recordSize) const {
        ByteBuilder bytes;
        for (std::uint32_t record = 0; record < records && recordSize > 0; ++record) {
            for (const Item& item : variables) {
                if (IsRecord(item)) {
                    const std::string_view all = item.values.bytes;
                    bytes.Field(all.substr(record * RecordBytes(item), RecordBytes(item)), RecordPiece(item));
                }
            }
        }
        return bytes.Bytes();
    }

    unsigned version;
    std::uint32_t records = 0;
    std::vector<std::pair<std::string, std::uint32_t>> dimensions;
    Attributes attributes;
    std::vector<Item> variables;
};

/** A whole chromatogram of seven points, one every half second: 10, 20, 40 ... */
inline NetCDFBuilder Chromatogram() {
    NetCDFBuilder file;
    file.Dimension("point_number", 7)
        .Attribute("dataset_completeness", Chars("C1"))
        .Attribute("aia_template_revision", Chars("1.0.1"))
        .Attribute("netcdf_revision", Chars("2.3.2"))
        .Attribute("sample_name", Chars("Sample 1"))
        .Attribute("retention_unit", Chars("seconds"))
        .Variable("actual_run_time_length", {}, Floats({3.0F}))
        .Variable("actual_sampling_interval", {}, Floats({0.5F}))
        .Variable("actual_delay_time", {}, Floats({1.0F}))
        .Variable("ordinate_values", {"point_number"}, Floats({10, 20, 40, 80, 160, 320, 640}))
        .Attribute("uniform_sampling_flag", Chars("Y"));
    return file;
}

/** The same with two peaks, from 1.5 to 2 and from 3 to 3.5 seconds. */
inline NetCDFBuilder ChromatogramWithPeaks() {
    NetCDFBuilder file = Chromatogram();
    file.Dimension("peak_number", 2)
        .Variable("peak_start_time", {"peak_number"}, Floats({1.5F, 3.0F}))
        .Variable("peak_end_time", {"peak_number"}, Floats({2.0F, 3.5F}));
    return file;
}

/** A table of two observations of three variables, without names of its own. */
inline NetCDFBuilder Observations() {
    NetCDFBuilder file;
    file.Dimension("sequence_no", 2)
        .Dimension("number_data_points", 3)
        .Dimension("string_len", 4)
        .Attribute("mva_template_revision", Chars("1.0"))
        .Variable("observation", {"sequence_no", "number_data_points"}, Doubles({1, 2.5, -3, 4, 0.1, 1e20}));
    return file;
}
