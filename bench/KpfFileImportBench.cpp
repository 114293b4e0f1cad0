#include <cstdio>
#include <fstream>
#include <ostream>

#include "base/TemporaryFile.h"
#include "bench/NumberSequence.h"
#include "bench/ReadBench.h"
#include "tests/container/ProjectBuilder.h"

namespace {

constexpr int Observations = 10'000;
constexpr int Variables = 1'000;
constexpr double Target = 20.0;

void GenerateProject(std::ostream& stream) {
    const int observations = Scaled(Observations);
    std::vector<std::shared_ptr<VariableInfo>> variables;
    for (int i = 0; i < Variables; ++i) {
        variables.push_back(NamedVariable("v" + std::to_string(i)));
    }
    std::vector<std::string> names;
    for (int i = 0; i < observations; ++i) {
        names.push_back("observation " + std::to_string(i));
    }
    ProjectContents project;
    project.aliasTables = {{"Primary ID", AliasTable::KindPlain}};
    DataSetContents dataSet = SmallDataSet(1, "Large", variables, names, {});
    dataSet.values.InsertRows(1, observations);
    NumberSequence numbers;
    for (int row = 1; row <= observations; ++row) {
        for (int col = 1; col <= Variables; ++col) {
            dataSet.values(row, col) = static_cast<float>(numbers.Next() >> 12) / 1024.0F;
        }
    }
    project.dataSets.push_back(std::move(dataSet));
    const std::string path = MakeTemporaryFile("karta-bench-");
    WriteProject(path, project);
    stream << std::ifstream(path, std::ios::binary).rdbuf();
    std::remove(path.c_str());
}

const RegisterReadBench Project({"kpf_10000_by_1000", "KARTA project file", "large.kpf", GenerateProject,
                                 Target, 0});

}  // namespace
