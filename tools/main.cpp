// The command line: which verb, with which options. The verbs themselves are in sources of their own.
#include <poll.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <csignal>
#include <cstdio>
#include <exception>
#include <iostream>
#include <new>
#include <sstream>
#include <string>
#include <vector>

#include "host/NvString.h"
#include "tools/Commands.h"
#include "tools/Failure.h"
#include "tools/Interrupt.h"
#include "tools/ReadRequest.h"

namespace {

constexpr const char* HelpText =
    R"(karta-import show FILE...               reads a file and shows the head of its table

Reads spectra, chromatograms, workbooks, process logs and plain tables into one table.

    karta-import formats                       the formats that can be read and written
    karta-import detect  FILE...               every format's verdict on a file, and the choice
    karta-import info    FILE...               format, size, sheets or blocks or matrices, warnings
    karta-import show    FILE...               the head of the table, aligned
    karta-import convert FILE... -o OUT        the table as CSV, TSV, JSON lines, text, DIF or MAT
    karta-import trace   FILE...               every call between reader and sink, one a line

Several FILEs are read as one table by the formats that can. The format is detected unless --format
names it. `karta-import VERB --help` lists a verb's options.

Examples:
    karta-import show spectrum.spc
    karta-import convert book.xlsx --sheets Results -o results.csv
    karta-import show --format "Text File" --delimiter ";" table.txt

Options:
    --help       this text
    --version    the program's version
)";

/** What the verbs take beside the request for a read. */
struct CommandLine {
    ReadRequest request;
    bool json = false;
    int rows = 20;
    std::string output;
    std::string target;
};

void AddFiles(CLI::App* verb, CommandLine& line) {
    verb->add_option("FILE", line.request.files, "the file; several are one selection")->required();
}

void AddPlugins(CLI::App* verb, CommandLine& line) {
    verb->add_option("--plugins", line.request.plugins, "also look for plug-ins in this folder")
        ->type_name("DIR");
}

// "\t" as people write it on a command line.
std::string UnderstandTab(std::string text) {
    for (std::size_t at = text.find("\\t"); at != std::string::npos; at = text.find("\\t", at + 1)) {
        text.replace(at, 2, "\t");
    }
    return text;
}

std::vector<std::string> SplitList(const std::string& list) {
    std::vector<std::string> items;
    std::istringstream stream(list);
    for (std::string item; std::getline(stream, item, ',');) {
        items.push_back(item);
    }
    return items;
}

std::vector<int> SplitPlaces(const std::string& list) {
    std::vector<int> places;
    for (const std::string& item : SplitList(list)) {
        int place = 0;
        if (!NvString::ToInt(item, place)) {
            throw CLI::ValidationError("--blocks takes places like 1,3, not '" + item + "'");
        }
        places.push_back(place);
    }
    return places;
}

void AddReading(CLI::App* verb, CommandLine& line) {
    ReadRequest& request = line.request;
    AddFiles(verb, line);
    AddPlugins(verb, line);
    verb->add_option("--format", request.format, "the format by its name, any case; no detection")
        ->type_name("NAME");
    verb->add_option_function<std::string>(
            "--delimiter", [&](const std::string& text) { request.delimiter = UnderstandTab(text); },
            "what parts the cells of delimited text; \\t is understood")
        ->type_name("TEXT");
    verb->add_flag("--merge-delimiters", request.mergeDelimiters, "a run of delimiters counts as one");
    verb->add_option_function<std::string>(
            "--sheets", [&](const std::string& list) { request.sheets = SplitList(list); },
            "sheets by name or by place in info's list, comma-separated")
        ->type_name("LIST");
    verb->add_flag("--side-by-side", request.sideBySide, "sheets side by side instead of stacked");
    verb->add_option_function<std::string>(
            "--blocks", [&](const std::string& list) { request.blocks = SplitPlaces(list); },
            "data blocks by place in info's list, comma-separated")
        ->type_name("LIST");
    verb->add_option("--matrix", request.matrix, "the matrix by its place in info's list")->type_name("N");
    verb->add_option("--include", request.includes, "an X interval to keep; repeatable")
        ->type_name("A:B")
        ->allow_extra_args(false);
    verb->add_option("--average", request.average, "merge N points into one")->type_name("N");
    verb->add_flag("--no-x-row", request.noXRow, "leave the X row out");
    verb->add_option("--setting", request.settings, "one key of the reader's settings; repeatable")
        ->type_name("KEY=VALUE")
        ->allow_extra_args(false);
    verb->add_option("--options", request.optionsFile, "replay the choices kept in this file")
        ->type_name("FILE");
    verb->add_option("--save-options", request.saveOptionsFile, "keep the choices made in this file")
        ->type_name("FILE");
    verb->add_flag("--through-driver", request.throughDriver,
                   "read as the desktop host does, numbers as floats");
    verb->add_option("--want", request.want, "read these rows only, like 1,3-5")->type_name("LIST");
    auto* yes = verb->add_flag("--yes", request.answerYes, "answer a reader's question with yes");
    verb->add_flag("--no", request.answerNo, "answer a reader's question with no")->excludes(yes);
    verb->add_option("--password", request.password, "of an encrypted project; else asked on the terminal")
        ->type_name("TEXT");
    verb->add_flag_callback(
        "--complete", [&] { request.reading = karta::Reading::Complete; },
        "lose nothing that is in the file");
    verb->add_flag_callback(
        "--classic", [&] { request.reading = karta::Reading::Classic; },
        "read by the rules of the desktop application");
    verb->add_option_function<std::string>(
            "--part", [&](const std::string& part) { request.settings.push_back("Part=" + part); },
            "the part to read, by its name or its place in info's list; all stacks them")
        ->type_name("PART");
    verb->add_flag("--quiet", request.quiet, "no progress, no warnings");
}

// The parser takes "[a,b]" for a list and "++" for the end of a verb, but a file may be called so. An
// argument that could be meant so is marked for the parser, and the mark is taken off the option's value.
constexpr char NameMark = '\x1f';

bool MayMislead(const std::string& argument) {
    return argument.starts_with('[') || argument.starts_with("++");
}

std::vector<std::string> MarkNames(int count, char** arguments) {
    std::vector<std::string> marked(arguments, arguments + count);
    for (std::string& argument : marked) {
        if (MayMislead(argument)) {
            argument += NameMark;
        }
    }
    return marked;
}

std::string UnmarkName(std::string text) {
    if (MayMislead(text) && text.ends_with(NameMark)) {
        text.pop_back();
    }
    return text;
}

int RunVerb(CLI::App& app, CommandLine& line) {
    if (app.got_subcommand("formats")) {
        return RunFormats(line.request, line.json);
    }
    if (app.got_subcommand("detect")) {
        return RunDetect(line.request, line.json);
    }
    if (app.got_subcommand("info")) {
        return RunInfo(line.request, line.json);
    }
    if (app.got_subcommand("show")) {
        return RunShow(line.request, line.rows);
    }
    if (app.got_subcommand("convert")) {
        return RunConvert(line.request, line.output, line.target);
    }
    return RunTrace(line.request);
}

void AddVerbs(CLI::App& app, CommandLine& line) {
    CLI::App* formats = app.add_subcommand("formats", "lists the formats, in the loader's order");
    AddPlugins(formats, line);
    formats->add_flag("--json", line.json, "as one JSON object");

    CLI::App* detect = app.add_subcommand("detect", "every format's verdict on a file, and the choice");
    AddFiles(detect, line);
    AddPlugins(detect, line);
    detect->add_flag("--json", line.json, "as one JSON object");

    CLI::App* info = app.add_subcommand("info", "format, size, sheets or blocks or matrices, warnings");
    AddReading(info, line);
    info->add_flag("--json", line.json, "as one JSON object");

    CLI::App* show = app.add_subcommand("show", "the head of the table, aligned, in the terminal");
    AddReading(show, line);
    show->add_option("--rows", line.rows, "how many rows to show (20)")
        ->type_name("N")
        ->check(CLI::NonNegativeNumber);

    CLI::App* convert = app.add_subcommand("convert", "the table as CSV, TSV, JSON lines, text, DIF or MAT");
    AddReading(convert, line);
    convert->add_option("-o,--output", line.output, "the file to write; - is standard output")
        ->type_name("OUT")
        ->required();
    convert
        ->add_option("--to", line.target, "csv, tsv, jsonl or a format that writes; else by OUT's extension")
        ->type_name("NAME");
    convert->footer("Example: karta-import convert run.trn -o run.csv");

    AddReading(app.add_subcommand("trace", "every call between reader and sink, one a line"), line);
}

bool OutputReaderIsGone() {
    pollfd output{STDOUT_FILENO, POLLOUT, 0};
    return poll(&output, 1, 0) == 1 && (output.revents & POLLERR) != 0;
}

// What went to standard output must have arrived. A reader of it that has gone away is no error.
int CheckOutput(int result) {
    std::cout.flush();
    if (std::cout.good() || OutputReaderIsGone()) {
        return result;
    }
    std::cerr << "karta-import: standard output could not be written\n";
    return ExitFailed;
}

int Run(int count, char** arguments) {
    CLI::App app;
    CommandLine line;
    app.set_help_flag();
    bool help = false;
    bool version = false;
    app.add_flag("-h,--help", help);
    app.add_flag("--version", version);
    app.require_subcommand(0, 1);
    AddVerbs(app, line);
    for (CLI::App* verb : app.get_subcommands({})) {
        verb->set_help_flag("-h,--help", "this text");
        verb->set_version_flag("--version", "karta-import " KARTA_VERSION);
        for (CLI::Option* option : verb->get_options()) {
            if (option->get_expected_min() > 0) {
                option->transform(UnmarkName);
            }
        }
    }
    try {
        const std::vector<std::string> marked = MarkNames(count, arguments);
        std::vector<const char*> pointers;
        for (const std::string& argument : marked) {
            pointers.push_back(argument.c_str());
        }
        app.parse(count, pointers.data());
        if (version) {
            std::cout << "karta-import " KARTA_VERSION "\n";
            return ExitSuccess;
        }
        if (help) {
            std::cout << HelpText;
            return ExitSuccess;
        }
        if (app.get_subcommands().empty()) {
            std::cerr << HelpText;
            return ExitUsage;
        }
        return RunVerb(app, line);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success)) {
            return app.exit(error);
        }
        // Before a verb they are asked for all the same, though the verb lacks its files.
        if (help || version) {
            std::cout << (version ? "karta-import " KARTA_VERSION "\n" : HelpText);
            return ExitSuccess;
        }
        std::string text = error.what();
        std::erase(text, NameMark);
        std::cerr << "karta-import: " << text << " (karta-import --help tells the usage)\n";
        return ExitUsage;
    } catch (const Failure& failure) {
        std::cerr << "karta-import: " << failure.what() << '\n';
        return failure.GetStatus();
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception& exception) {
        std::cerr << "karta-import: " << exception.what() << '\n';
        return ExitFailed;
    }
}

}  // namespace

int main(int count, char** arguments) {
    std::signal(SIGPIPE, SIG_IGN);
    Interrupt::Install();
    try {
        std::ios::sync_with_stdio(false);
        return CheckOutput(Run(count, arguments));
    } catch (const std::bad_alloc&) {
        // The streams themselves may be what there was no memory for.
        std::fputs("karta-import: ", stderr);
        std::fputs(NotEnoughMemory, stderr);
        std::fputs("\n", stderr);
    } catch (...) {
        // A library's exceptions needn't be of the standard's kind.
        std::cerr << "karta-import: failed for an unknown reason\n";
    }
    return ExitFailed;
}
