#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

/** The files of a process log, as a test writes them: lines in the order of the file, ended by CR LF. */
namespace brookside {

inline std::string Lines(const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines) {
        text += line + "\r\n";
    }
    return text;
}

/** The "File" line for so many phases, the first with its columns 2 and 3. */
inline std::string FileLine(int phases) {
    std::string line =
        "\"File\"\t\"[1:1]From\"\t\"[1:1]To\"\tRecipe\tLot\tSlot\tWafer\tOperation\t\"[1:1]Duration\"";
    for (int phase = 2; phase <= phases; ++phase) {
        const std::string mark = "\t[" + std::to_string(phase) + ":" + std::to_string(phase) + "]";
        line += mark + "From" + mark + "To" + mark + "Duration";
    }
    return line;
}

/** The lines of a phase, and its duration as a text. */
struct Phase {
    int from;
    int to;
    std::string duration = "1";
};

/** A wafer line. */
struct Wafer {
    std::string id;
    std::vector<Phase> phases;
    std::string dataFile = "lot1.dat";
    std::string recipe = "A_Etch";

    std::string Line() const {
        const auto span = [](const Phase& phase) {
            return std::to_string(phase.from) + "\t" + std::to_string(phase.to);
        };
        std::string line = dataFile + "\t" + span(phases[0]) + "\t" + recipe + "\tL0417\t7\t" + id +
                           "\t6100\t" + phases[0].duration;
        for (std::size_t i = 1; i < phases.size(); ++i) {
            line += "\t" + span(phases[i]) + "\t" + phases[i].duration;
        }
        return line;
    }
};

/** A transition file of these wafers, for as many phases as the first has. */
inline std::string Transition(const std::vector<Wafer>& wafers) {
    std::vector<std::string> lines = {
        "Transitions", FileLine(wafers.empty() ? 1 : static_cast<int>(wafers[0].phases.size()))};
    for (const Wafer& wafer : wafers) {
        lines.push_back(wafer.Line());
    }
    return Lines(lines);
}

/** A data file: its header line, and its samples from line 1 on. */
inline std::string DataFile(const std::string& header, const std::vector<std::string>& samples) {
    return Lines({"Data", "Tool", "Started", "Channels", "1", "Channel 1", "End", header}) + Lines(samples);
}

/** The samples 0.5, 1, 1.5 and so on, each with its line number as the value of one variable. */
inline std::string NumberedData(int count, const std::string& variable = "A_Press") {
    std::vector<std::string> samples;
    for (int line = 1; line <= count; ++line) {
        samples.push_back((line % 2 == 0 ? std::to_string(line / 2) : std::to_string(line / 2) + ".5") +
                          "\t" + std::to_string(line));
    }
    return DataFile("Time\t" + variable, samples);
}

/** A package of a transition file and data files by their names. */
inline std::string Package(const std::string& transition,
                           const std::vector<std::pair<std::string, std::string>>& dataFiles) {
    std::string text =
        "<trn_file_name>log.trn</trn_file_name>\r\n<trn_file>\r\n" + transition + "</trn_file>\r\n";
    for (const auto& [name, content] : dataFiles) {
        text +=
            "<data_file_name>" + name + "</data_file_name>\r\n<data_file>\r\n" + content + "</data_file>\r\n";
    }
    return text;
}

}  // namespace brookside
