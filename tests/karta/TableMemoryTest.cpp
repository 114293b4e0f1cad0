// What a table of numbers costs while it is read: its values once, and little beside them.
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "karta/Read.h"
#include "tests/container/ProjectBuilder.h"
#include "tests/support/PeakMemory.h"
#include "tests/support/TempFolder.h"

namespace {

constexpr double TimesValues = 1.1;
constexpr double BesideValues = 64e6;

double SizeOf(const karta::SharedBuffer& buffer) {
    return buffer == nullptr ? 0.0 : static_cast<double>(buffer->GetSize());
}

// The bytes of all numbers, those of the axis among them.
double SizeOf(const karta::Table& table) {
    double size = 0;
    if (const karta::Block* block = table.GetBlock()) {
        size += SizeOf(block->GetParts().values) + SizeOf(block->GetParts().axis);
    }
    for (const karta::Column& column : table.GetColumns()) {
        size += SizeOf(column.GetBuffers().values);
    }
    return size;
}

class TableMemoryTest : public testing::Test {
protected:
    // Holds what the read takes against the bytes of its values, as many as are told, which are far more than
    // what is allowed beside them.
    static void Expect(const std::string& path, double values) {
        if (!IsMemoryMeasurable()) {
            GTEST_SKIP() << "the sanitizer's own memory is many times the table's";
        }
        ASSERT_GT(values, 1.5 * BesideValues);
        // Blocks that earlier reads left to later ones among it.
        const double before = PeakMemoryOf([] { return true; });
        const double peak = PeakMemoryOf([&] {
            const double size = SizeOf(karta::Read(path));
            return size >= values && size < 1.01 * values;
        });
        std::printf("%.0f MB for %.0f MB of values\n", peak / 1e6, values / 1e6);
        EXPECT_GT(peak, values);
        EXPECT_LT(peak - before, TimesValues * values + BesideValues);
    }
    std::string Write(const std::string& name, const std::function<void(std::ostream&)>& write) {
        const std::string path = folder.Path(name);
        std::ofstream file(path, std::ios::binary);
        write(file);
        return path;
    }

    TempFolder folder;
};

std::string JCAMPHead(int points) {
    return "##TITLE=a\n##JCAMP-DX=4.24\n##DATA TYPE=RAMAN SPECTRUM\n##XUNITS=1/CM\n##YUNITS=COUNTS\n"
           "##FIRSTX=1\n##LASTX=" +
           std::to_string(points) + "\n##NPOINTS=" + std::to_string(points) + "\n";
}

// A value a byte: from 0 up to 1 and down again, and each line begins with the last value of the one before.
std::string Differences(int points) {
    std::string text = "##XYDATA=(X++(Y..Y))\n1@";
    for (int i = 1; i < points; ++i) {
        if (i % 100 == 0) {
            text += "\n" + std::to_string(i) + "A";
        }
        text += i % 2 == 0 ? "j" : "J";
    }
    return text + "\n";
}

}  // namespace

TEST_F(TableMemoryTest, SpectraOfJCAMPBlocksAreInMemoryOnce) {
    constexpr int Points = 5000;
    constexpr int Blocks = 3500;
    const std::string block = JCAMPHead(Points) + Differences(Points) + "##END=\n";
    const std::string path = Write("blocks.dx", [&](std::ostream& file) {
        for (int i = 0; i < Blocks; ++i) {
            file << block;
        }
    });
    Expect(path, 8.0 * (Points * Blocks + Points));
}

TEST_F(TableMemoryTest, ADatasetOfAProjectIsInMemoryOnce) {
    constexpr int Observations = 12'500;
    constexpr int Variables = 2'000;
    const std::string path = folder.Path("large.kpf");
    // By a process of its own, which keeps what it takes.
    ASSERT_GT(PeakMemoryOf([&] {
                  std::vector<std::shared_ptr<VariableInfo>> variables;
                  for (int i = 0; i < Variables; ++i) {
                      variables.push_back(NamedVariable("v" + std::to_string(i)));
                  }
                  std::vector<std::string> names;
                  for (int i = 0; i < Observations; ++i) {
                      names.push_back("o" + std::to_string(i));
                  }
                  ProjectContents project;
                  project.aliasTables = {{"Primary ID", AliasTable::KindPlain}};
                  DataSetContents dataSet = SmallDataSet(1, "Large", variables, names, {});
                  dataSet.values.InsertRows(1, Observations);
                  for (int row = 1; row <= Observations; ++row) {
                      for (int col = 1; col <= Variables; ++col) {
                          dataSet.values(row, col) =
                              static_cast<float>(row) + 0.25F * static_cast<float>(col);
                      }
                  }
                  project.dataSets.push_back(std::move(dataSet));
                  WriteProject(path, project);
                  return true;
              }),
              0.0);
    Expect(path, 4.0 * Observations * Variables);
}

// No line of it is kept beside the columns.
TEST_F(TableMemoryTest, AReportIsInMemoryOnce) {
    constexpr int Lines = 14'000;
    constexpr int Intensities = 1'000;
    const std::string path = Write("report.txt", [](std::ostream& file) {
        file << "FrameID\tMZStart\tMZStop\tTimeStart\tTimeStop\tpValue\tRatio\tUpperBound\tLowerBound\tFOM1";
        for (int i = 0; i < Intensities; ++i) {
            file << "\tIntensity_" << i;
        }
        std::string numbers;
        for (int i = 0; i < Intensities + 9; ++i) {
            numbers += "\t" + std::to_string(i);
        }
        for (int line = 1; line <= Lines; ++line) {
            file << "\n" << line << numbers;
        }
        file << "\n";
    });
    Expect(path, 8.0 * (Intensities + 9 + 2) * Lines);
}
