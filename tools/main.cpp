// The command line: which verb, with which options. The verbs themselves are in sources of their own.
#include <dlfcn.h>
#include <poll.h>
#include <sys/resource.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <iostream>
#include <new>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "base/Ascii.h"
#include "base/Budget.h"
#include "base/NumberFormat.h"
#include "base/Stopped.h"
#include "base/Suggestion.h"
#include "frame/SprFileFactory.h"
#include "host/NvFile.h"
#include "host/NvString.h"
#include "tools/Commands.h"
#include "tools/ErrorText.h"
#include "tools/Failure.h"
#include "tools/FileList.h"
#include "tools/Interrupt.h"
#include "tools/Json.h"
#include "tools/KeptOptions.h"
#include "tools/ManyFiles.h"
#include "tools/PageOpener.h"
#include "tools/ReadRequest.h"
#include "tools/Sandbox.h"
#include "tools/Screen.h"
#include "tools/StandardInput.h"
#include "tools/TerminalText.h"

namespace {

constexpr const char* HelpText =
    R"(karta-import show FILE...               reads a file and shows the head of its table

Reads spectra, chromatograms, workbooks, process logs and plain tables into one table.

    karta-import formats                       the formats that can be read and written
    karta-import detect  FILE...               every format's verdict on a file, and the choice
    karta-import info    FILE...               format, size, sheets or blocks or matrices, notes
    karta-import show    FILE...               the head of the table, aligned
    karta-import view    FILE...               a page with an interactive plot, in the browser
    karta-import convert FILE... -o OUT        the table as CSV, TSV, JSON lines, text, DIF or MAT
    karta-import trace   FILE...               every call between reader and sink, one a line

Several FILEs are read as one table by the formats that can. The format is detected unless --format
names it. Files are read completely, with a note for whatever isn't in the table; --classic reads by
the rules of the desktop application. `karta-import VERB --help` lists a verb's options.

A FILE without a verb is shown; - is standard input.

Examples:
    karta-import spectrum.spc
    karta-import view spectra/
    karta-import convert spectra/ --stack --grid common -o matrix.csv
    karta-import convert book.xlsx --part Results -o results.csv
    karta-import show --format text --delimiter ";" table.data

Options:
    --help       this text
    --version    the program's version
)";

/** What the verbs take beside the request for a read. */
struct CommandLine {
    ReadRequest request;
    bool json = false;
    bool sandbox = true;
    ShowRequest show;
    ConvertRequest convert;
    ViewRequest view;
    StandardInput input;
    std::vector<std::string> foldersOfMany;  // where many files lie
};

/** The options that a verb gets while this lives stand together in its help. */
class OptionGroup {
public:
    OptionGroup(CLI::App* groupedVerb, const char* name) : verb(groupedVerb) {
        verb->option_defaults()->group(name);
    }
    OptionGroup(const OptionGroup&) = delete;
    OptionGroup& operator=(const OptionGroup&) = delete;
    // So short a name needs no memory, which may have ended.
    ~OptionGroup() { verb->option_defaults()->group("Options"); }

private:
    CLI::App* verb;
};

void AddFiles(CLI::App* verb, CommandLine& line) {
    verb->add_option("FILE", line.request.files, "the file; several are one selection; - is standard input")
        ->required();
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

// A size as people write it: 500M, 4G, 4.5G; "none" is no limit.
std::uint64_t UnderstandSize(const std::string& text) {
    constexpr std::string_view Units = "KMGT";
    constexpr double UnitStep = 1024.0;
    // Beyond that a double isn't a whole number of bytes, and no machine has them.
    constexpr double Largest = 9e15;
    if (text == "none") {
        return karta::Budget::Unlimited;
    }
    std::string digits = text;
    double bytes = 1.0;
    if (!digits.empty() && (digits.back() == 'B' || digits.back() == 'b')) {
        digits.pop_back();
    }
    const std::size_t unit = digits.empty() ? std::string_view::npos : Units.find(ToUpper(digits.back()));
    if (unit != std::string_view::npos) {
        digits.pop_back();
        bytes = std::pow(UnitStep, static_cast<double>(unit + 1));
    }
    double number = 0.0;
    if (!NvString::ToDouble(digits, number) || !(number * bytes >= 1.0) || number * bytes > Largest) {
        throw CLI::ValidationError("--limit takes a size like 500M or 4G, or none, not '" + text + "'");
    }
    return static_cast<std::uint64_t>(number * bytes);
}

void AddReadingChoice(CLI::App* verb, CommandLine& line) {
    const OptionGroup group(verb, "Reading");
    ReadRequest& request = line.request;
    auto* complete = verb->add_flag_callback(
        "--complete", [&] { request.givenReading = karta::Reading::Complete; },
        "lose nothing that is in the file");
    verb->add_flag_callback(
            "--classic", [&] { request.givenReading = karta::Reading::Classic; },
            "read by the rules of the desktop application")
        ->excludes(complete);
}

void AddParts(CLI::App* verb, ReadRequest& request) {
    const OptionGroup group(verb, "Parts of a file");
    verb->add_option("--part", request.part,
                     "the part to read, by its name or its place in info's list; all stacks them")
        ->type_name("LIST");
    verb->add_option("--sheets", request.sheets, "sheets by name or by place in info's list, comma-separated")
        ->type_name("LIST");
    verb->add_flag("--side-by-side", request.sideBySide, "sheets side by side instead of stacked");
    verb->add_option("--blocks", request.blocks, "data blocks by place in info's list, comma-separated")
        ->type_name("LIST");
    verb->add_option("--matrix", request.matrix, "the matrix by its place in info's list, or by its name")
        ->type_name("N");
    verb->add_option("--row-names", request.rowNames, "the variable that names the rows")->type_name("V");
    verb->add_option("--column-names", request.columnNames, "the variable that names the columns")
        ->type_name("V");
}

void AddDialect(CLI::App* verb, ReadRequest& request) {
    const OptionGroup group(verb, "Dialect of a text");
    verb->add_option_function<std::string>(
            "--delimiter", [&](const std::string& text) { request.delimiter = UnderstandTab(text); },
            "what parts the cells of delimited text; \\t is understood")
        ->type_name("TEXT");
    verb->add_flag("--merge-delimiters", request.mergeDelimiters, "a run of delimiters counts as one");
    verb->add_option("--encoding", request.encoding, "of the text: utf-8, windows-1252, cp850 ...")
        ->type_name("NAME");
    verb->add_option("--decimal", request.decimal, "the decimal mark, . or ,")->type_name("TEXT");
    verb->add_option("--header", request.header, "the row of the columns' names, from 1; 0: there is none")
        ->type_name("N");
    verb->add_option("--text-columns", request.textColumns, "columns that stay text, by name or place")
        ->type_name("LIST");
    verb->add_flag("--no-types", request.noTypes, "every field stays text");
    verb->add_option("--date-order", request.dateOrder, "of dates like 1/2/2025: DMY, MDY or YMD")
        ->type_name("ORDER");
}

void AddAxis(CLI::App* verb, ReadRequest& request) {
    const OptionGroup group(verb, "Axis of spectra");
    verb->add_option("--include", request.includes, "an X interval to keep; repeatable")
        ->type_name("A:B")
        ->allow_extra_args(false);
    verb->add_option("--average", request.average, "merge N points into one")->type_name("N");
    verb->add_flag("--no-x-row", request.noXRow, "leave the X row out");
}

void AddChoiceOfFormat(CLI::App* verb, CommandLine& line) {
    const OptionGroup group(verb, "Reading");
    verb->add_option("--format", line.request.format, "the format by its name or short name; no detection")
        ->type_name("NAME");
    AddPlugins(verb, line);
    verb->add_option("--want", line.request.want, "read these rows only, like 1,3-5")->type_name("LIST");
    verb->add_option_function<std::string>(
            "--limit", [&](const std::string& text) { line.request.limit = UnderstandSize(text); },
            "what a read may take, like 4G, or none")
        ->type_name("SIZE");
    verb->add_option("--password", line.request.password,
                     "of an encrypted project; else asked on the terminal")
        ->type_name("TEXT");
}

void AddKeptChoices(CLI::App* verb, ReadRequest& request) {
    const OptionGroup group(verb, "Choices, kept and made again");
    verb->add_option("--setting", request.settings, "one key of the reader's settings; repeatable")
        ->type_name("KEY=VALUE")
        ->allow_extra_args(false);
    verb->add_option("--options", request.optionsFile, "replay the choices kept in this file")
        ->type_name("FILE");
    verb->add_option("--save-options", request.saveOptionsFile, "keep the choices made in this file")
        ->type_name("FILE");
    auto* yes = verb->add_flag("--yes", request.answerYes, "answer a reader's question with yes");
    verb->add_flag("--no", request.answerNo, "answer a reader's question with no")->excludes(yes);
}

void AddBehaviour(CLI::App* verb, CommandLine& line) {
    const OptionGroup group(verb, "How the program works");
    ReadRequest& request = line.request;
    verb->add_flag("--through-driver", request.throughDriver,
                   "read as the desktop host does, numbers as floats");
    verb->add_flag("--sandbox,!--no-sandbox", line.sandbox,
                   "reach for nothing but the inputs, the output and temporary files (on without --plugins)");
    auto* quiet = verb->add_flag("--quiet", request.quiet, "no progress, notes and warnings");
    verb->add_flag("--verbose", request.verbose, "more about what is done and why")->excludes(quiet);
}

void AddReading(CLI::App* verb, CommandLine& line) {
    AddFiles(verb, line);
    AddChoiceOfFormat(verb, line);
    AddReadingChoice(verb, line);
    AddParts(verb, line.request);
    AddDialect(verb, line.request);
    AddAxis(verb, line.request);
    AddKeptChoices(verb, line.request);
    AddBehaviour(verb, line);
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

// Wrong in a way that is seen only when all is parsed; says what was probably meant.
void CheckOutputIsNamed(const CommandLine& line) {
    if (!line.convert.output.empty()) {
        return;
    }
    std::string text = "-o names the file to write, and - is standard output";
    if (line.request.files.size() > 1) {
        text += "; did you mean: karta-import convert " + line.request.files.front() + " -o " +
                line.request.files.back();
    }
    throw Failure(text, ExitUsage);
}

std::string FolderOf(const std::string& path) {
    const std::filesystem::path folder = std::filesystem::path(path).parent_path();
    return folder.empty() ? "." : folder.string();
}

// Both the folder that the user names and the one that a link leads to: companions may stand in either.
void AddFoldersOf(const std::string& path, std::vector<std::string>& folders) {
    if (path.empty() || path == "-") {
        return;
    }
    folders.push_back(FolderOf(path));
    std::error_code unknown;
    const auto real = std::filesystem::weakly_canonical(path, unknown);
    if (!unknown) {
        folders.push_back(FolderOf(real.string()));
    }
}

// Before a byte of a file is looked at. A plug-in's needs aren't known, so there is no sandbox with one.
void EnterSandbox(const CommandLine& line) {
    const ReadRequest& request = line.request;
    if (!line.sandbox || !request.plugins.empty() || !Sandbox::IsPossible()) {
        return;
    }
    Sandbox::Folders folders;
    for (const std::string& file : request.files) {
        AddFoldersOf(file, folders.readable);
    }
    for (const std::string& folder : line.foldersOfMany) {
        AddFoldersOf(folder + "/", folders.readable);
    }
    AddFoldersOf(request.optionsFile, folders.readable);
    // Modules beside the program are looked for there, and one of the library's own beside the library.
    AddFoldersOf("/proc/self/exe", folders.readable);
    Dl_info library{};
    if (dladdr(reinterpret_cast<const void*>(&SprFileFactory::SizeInfos), &library) != 0) {
        AddFoldersOf(library.dli_fname, folders.readable);
    }
    AddFoldersOf(line.convert.output, folders.writable);
    AddFoldersOf(line.view.output, folders.writable);
    AddFoldersOf(request.saveOptionsFile, folders.writable);
    std::error_code unknown;
    folders.writable.push_back(std::filesystem::temp_directory_path(unknown).string());
    const std::string missing = Sandbox::Enter(folders);
    if (request.verbose && !missing.empty()) {
        std::cerr << "karta-import: " << missing << '\n';
    }
}

// A picture has no place but a file; a page may also be opened at once.
void CheckPicture(const ViewRequest& view) {
    if (view.svg && view.output.empty()) {
        throw Failure("--svg wants -o, which names the file to write; - is standard output", ExitUsage);
    }
}

// More than a screen holds, to the side or below.
bool NeedsPager(const ShowRequest& show, const Screen& screen) {
    return show.wide || show.facts || !show.columns.empty() ||
           (screen.GetHeight() > 0 && static_cast<std::size_t>(show.rows) + 2 > screen.GetHeight());
}

// What it took, for those who want more words.
void SayCost(std::chrono::steady_clock::time_point begin) {
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - begin;
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    std::cout.flush();
    std::cerr << "karta-import: took " << FormatG(elapsed.count(), 3) << " s and "
              << FormatG(static_cast<double>(usage.ru_maxrss) / 1024.0, 3) << " MB of memory\n";
}

// What an earlier run has put into the folder for the tables is none of the files, though it lies among them.
void LeaveOut(const std::string& folder, std::vector<ListedFile>& files) {
    std::error_code unknown;
    const std::filesystem::path output = std::filesystem::weakly_canonical(folder, unknown);
    std::erase_if(files, [&](const ListedFile& file) {
        const auto inside = std::filesystem::weakly_canonical(file.path, unknown).lexically_relative(output);
        return !inside.empty() && *inside.begin() != "..";
    });
    if (files.empty()) {
        throw Failure(folder + ": all files that are named lie in the folder for their tables", ExitUsage);
    }
}

// The files of folders and patterns. The folder for their tables is made while folders can be made.
std::vector<ListedFile> ListMany(CommandLine& line) {
    CheckOutputIsNamed(line);
    std::vector<ListedFile> files = ListFiles(line.request.files);
    if (line.convert.each) {
        std::error_code error;
        std::filesystem::create_directories(line.convert.output, error);
        LeaveOut(line.convert.output, files);
        line.convert.output += line.convert.output.ends_with('/') ? "" : "/";
    }
    std::set<std::string> folders;
    for (const ListedFile& file : files) {
        folders.insert(FolderOf(file.path));
    }
    line.foldersOfMany.assign(folders.begin(), folders.end());
    return files;
}

// Folders and patterns stand for the files in them.
void ListForView(ReadRequest& request) {
    std::vector<std::string> files;
    for (const ListedFile& file : ListFiles(request.files)) {
        files.push_back(file.path);
    }
    request.files = std::move(files);
}

int DoVerb(CLI::App& app, CommandLine& line) {
    const bool isTrace = app.got_subcommand("trace");
    line.request.reading =
        ReadingOf(line.request, isTrace ? karta::Reading::Classic : karta::Reading::Complete);
    line.input.Take(line.request);
    Screen screen;
    if (app.got_subcommand("show") && NeedsPager(line.show, screen)) {
        screen.StartPager();
    }
    std::optional<PageOpener> opener;
    if (app.got_subcommand("view")) {
        CheckPicture(line.view);
        if (line.view.output.empty()) {
            opener.emplace();
        }
    }
    if (app.got_subcommand("view")) {
        ListForView(line.request);
    }
    std::vector<ListedFile> many;
    if (line.convert.each || line.convert.stack) {
        many = ListMany(line);
    } else if (!line.convert.grid.empty() || line.convert.skipBad || line.convert.workers != 0) {
        throw Failure("--grid, --skip-bad and -j are for many files: --each or --stack", ExitUsage);
    }
    EnterSandbox(line);
    if (line.convert.each) {
        return ConvertEach(line.request, line.convert, many);
    }
    if (line.convert.stack) {
        return ConvertStacked(line.request, line.convert, many);
    }
    if (app.got_subcommand("view")) {
        return RunView(line.request, line.view, opener ? &*opener : nullptr);
    }
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
        return RunShow(line.request, line.show, screen);
    }
    if (app.got_subcommand("convert")) {
        CheckOutputIsNamed(line);
        return RunConvert(line.request, line.convert);
    }
    return RunTrace(line.request);
}

int RunVerb(CLI::App& app, CommandLine& line) {
    const auto begin = std::chrono::steady_clock::now();
    const int status = DoVerb(app, line);
    if (line.request.verbose) {
        SayCost(begin);
    }
    return status;
}

int CheckedRows(int rows) {
    if (rows < 0) {
        throw CLI::ValidationError("--rows takes a number of rows, 0 or more, not " + std::to_string(rows));
    }
    return rows;
}

void AddFormats(CLI::App& app, CommandLine& line) {
    CLI::App* formats = app.add_subcommand("formats", "lists the formats, in the loader's order");
    AddPlugins(formats, line);
    formats->add_flag("--json", line.json, "as one JSON object");
}

void AddDetect(CLI::App& app, CommandLine& line) {
    CLI::App* detect = app.add_subcommand("detect", "every format's verdict on a file, and the choice");
    AddFiles(detect, line);
    AddPlugins(detect, line);
    AddReadingChoice(detect, line);
    detect->add_flag("--quiet", line.request.quiet, "no word on why none is chosen");
    detect->add_flag("--json", line.json, "as one JSON object");
    detect->footer("Example: karta-import detect unknown.dat | grep -v ^no");
}

void AddInfo(CLI::App& app, CommandLine& line) {
    CLI::App* info = app.add_subcommand("info", "format, size, sheets or blocks or matrices, notes");
    info->add_flag("--json", line.json, "as one JSON object");
    AddReading(info, line);
    info->footer(
        "Examples:\n"
        "  karta-import info spectrum.spc\n"
        "  karta-import info --json book.xlsx | jq .parts");
}

void AddShow(CLI::App& app, CommandLine& line) {
    CLI::App* show = app.add_subcommand("show", "the head of the table, aligned, in the terminal");
    show->add_option_function<int>(
            "--rows", [&](int rows) { line.show.rows = CheckedRows(rows); }, "how many rows to show (20)")
        ->type_name("N");
    show->add_option("--columns", line.show.columns, "these columns, like 1-3,7, instead of as many as fit")
        ->type_name("LIST");
    show->add_flag("--wide", line.show.wide, "all columns, on a terminal in a pager");
    show->add_flag("--facts", line.show.facts, "what the file says of itself, above the table");
    AddReading(show, line);
    show->footer(
        "Examples:\n"
        "  karta-import show spectrum.spc --rows 5 --columns 1-3,7\n"
        "  karta-import show book.xlsx --part Results --wide");
}

void AddView(CLI::App& app, CommandLine& line) {
    CLI::App* view = app.add_subcommand("view", "a page with an interactive plot, for the browser");
    view->add_option("-o,--output", line.view.output, "the page to write; without it the browser opens one")
        ->type_name("PAGE");
    view->add_flag("--svg", line.view.svg, "a picture for documents instead of the page");
    AddReading(view, line);
    view->footer(
        "Examples:\n"
        "  karta-import view spectrum.spc\n"
        "  karta-import view run1.ch run2.ch -o both.html\n"
        "  karta-import view 'spectra/**/*.spc'\n"
        "  karta-import view --svg spectrum.spc -o spectrum.svg");
}

void AddConvert(CLI::App& app, CommandLine& line) {
    CLI::App* convert = app.add_subcommand("convert", "the table as CSV, TSV, JSON lines, text, DIF or MAT");
    convert->add_option("-o,--output", line.convert.output, "the file to write; - is standard output")
        ->type_name("OUT");
    convert
        ->add_option("--to", line.convert.target,
                     "csv, tsv, jsonl or a format that writes; else by OUT's extension")
        ->type_name("NAME");
    convert->add_flag("--json", line.json, "a failure as one JSON object, on standard output");
    convert->add_flag("--objects", line.convert.objects, "JSON lines as objects, with the columns' names");
    convert->add_flag("--safe-cells", line.convert.safeCells,
                      "an apostrophe before cells that a spreadsheet would take for formulas");
    auto* each = convert->add_flag("--each", line.convert.each, "every file by itself, to the folder OUT");
    convert->add_flag("--stack", line.convert.stack, "all files as one table, with a column that names them")
        ->excludes(each);
    convert
        ->add_option("--grid", line.convert.grid,
                     "the axis of stacked spectra: first, common, union or A:B:STEP")
        ->type_name("GRID");
    convert->add_flag("--skip-bad", line.convert.skipBad,
                      "go on behind a file that can't be read, and say so at the end");
    convert
        ->add_option("-j,--jobs", line.convert.workers,
                     "how many files are read at once (as many as there are cores)")
        ->type_name("N");
    AddReading(convert, line);
    convert->footer(
        "Examples:\n"
        "  karta-import convert run.trn -o run.csv\n"
        "  karta-import convert book.xlsx --part Results --want 1-10 -o -\n"
        "  karta-import convert a.spc b.spc --include 1100:1800 -o both.mat\n"
        "  karta-import convert spectra/ -o tables/ --each --skip-bad\n"
        "  karta-import convert 'spectra/**/*.spc' --stack --grid common -o all.csv");
}

void AddTrace(CLI::App& app, CommandLine& line) {
    CLI::App* trace = app.add_subcommand("trace", "every call between reader and sink, one a line");
    AddReading(trace, line);
    trace->footer("Example: karta-import trace --format text table.data");
}

// In the order in which the help lists them.
void AddVerbs(CLI::App& app, CommandLine& line) {
    AddFormats(app, line);
    AddDetect(app, line);
    AddInfo(app, line);
    AddShow(app, line);
    AddView(app, line);
    AddConvert(app, line);
    AddTrace(app, line);
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

// With --json a failure is an object too, beside its line on standard error.
int SayFailure(const CommandLine& line, const Failure& reason) {
    // Whatever a reader makes of being stopped, the signal is why it failed.
    const Failure failure = Interrupt::IsRequested() ? Interrupt::GetFailure() : reason;
    const Failure named =
        Failure(line.input.Named(failure.what()), failure.GetStatus()).With(failure.GetDetails());
    std::cerr << "karta-import: " << named.what() << '\n';
    if (line.json) {
        JsonWriter json(std::cout);
        json.BeginObject();
        PutError(json, named);
        json.EndObject();
    }
    return failure.GetStatus();
}

std::vector<std::string> VerbsOf(const CLI::App& app) {
    std::vector<std::string> names;
    for (const CLI::App* verb : app.get_subcommands([](const CLI::App*) { return true; })) {
        names.push_back(verb->get_name());
    }
    return names;
}

// A file without a verb is to be looked at.
void PutVerb(const CLI::App& app, std::vector<std::string>& arguments) {
    const std::vector<std::string> verbs = VerbsOf(app);
    const bool hasVerb =
        std::any_of(arguments.begin() + 1, arguments.end(), [&](const std::string& argument) {
            return std::find(verbs.begin(), verbs.end(), argument) != verbs.end();
        });
    const auto isFile = [](const std::string& argument) {
        return argument == "-" || NvFile::Exists(UnmarkName(argument).c_str());
    };
    // A first word that is no file was meant to be a verb.
    const bool hasFile =
        arguments.size() > 1 &&
        (isFile(arguments[1]) ||
         (arguments[1].starts_with('-') && std::any_of(arguments.begin() + 2, arguments.end(), isFile)));
    if (!hasVerb && hasFile) {
        arguments.insert(arguments.begin() + 1, "show");
    }
}

// What people type who don't know that a verb is needed.
std::string HintOnVerb(const CLI::App& app, const std::string& word) {
    if (NvFile::Exists(word.c_str())) {
        return "'" + word + "' is a file and no verb; to look at it: karta-import show " + word;
    }
    const std::string meant = FindSuggestion(word, VerbsOf(app));
    if (meant.empty() && word.find_first_of("./") != std::string::npos) {
        return "there is no file '" + word +
               "', and no verb of this name; karta-import --help lists the verbs";
    }
    return "there is no verb '" + word + "'; " + (meant.empty() ? "" : "did you mean " + meant + "? ") +
           "karta-import --help lists them";
}

// The options that the verb knows, for one that it doesn't.
std::string HintOnOption(const CLI::App& verb, const std::vector<std::string>& arguments) {
    std::vector<std::string> known;
    for (const CLI::Option* option : verb.get_options()) {
        for (const std::string& name : option->get_lnames()) {
            known.push_back("--" + name);
        }
    }
    for (const std::string& argument : arguments) {
        const std::string name = argument.substr(0, argument.find('='));
        if (name.starts_with("--") && name.size() > 2 &&
            std::find(known.begin(), known.end(), name) == known.end()) {
            const std::string meant = FindSuggestion(name, known);
            return "there is no option " + name + "; " +
                   (meant.empty() ? "" : "did you mean " + meant + "? ") + "karta-import " + verb.get_name() +
                   " --help lists them";
        }
    }
    return {};
}

int SayParseError(const CLI::App& app, const CLI::ParseError& error,
                  const std::vector<std::string>& arguments) {
    std::string text = error.what();
    const auto word = std::find_if(arguments.begin() + 1, arguments.end(),
                                   [](const std::string& argument) { return !argument.starts_with('-'); });
    if (app.get_subcommands().empty() && word != arguments.end()) {
        text = HintOnVerb(app, *word);
    } else {
        const std::string hint =
            app.get_subcommands().empty() ? "" : HintOnOption(*app.get_subcommands().front(), arguments);
        text = hint.empty() ? text + " (karta-import --help tells the usage)" : hint;
    }
    std::erase(text, NameMark);
    CommandLine line;
    line.json = std::find(arguments.begin(), arguments.end(), "--json") != arguments.end();
    return SayFailure(line, Failure(text, ExitUsage));
}

void SetUp(CLI::App& app, CommandLine& line) {
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
}

int Run(int count, char** arguments) {
    CLI::App app;
    CommandLine line;
    bool help = false;
    bool version = false;
    app.set_help_flag();
    app.add_flag("-h,--help", help);
    app.add_flag("--version", version);
    SetUp(app, line);
    std::vector<std::string> marked = MarkNames(count, arguments);
    PutVerb(app, marked);
    try {
        std::vector<const char*> pointers;
        for (const std::string& argument : marked) {
            pointers.push_back(argument.c_str());
        }
        app.parse(static_cast<int>(pointers.size()), pointers.data());
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
        return SayParseError(app, error, marked);
    } catch (const Failure& failure) {
        return SayFailure(line, failure);
    } catch (const karta::Error& error) {
        return SayFailure(line, FailureOf(error));
    } catch (const karta::Stopped&) {
        // What is written is charged to the read, and stops with it.
        return SayFailure(line, Interrupt::GetFailure());
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception& exception) {
        return SayFailure(line, Failure(exception.what()));
    }
}

// Behind the streams' own filters, which are gone when this returns.
int RunFiltered(int count, char** arguments) {
    const TerminalFilter output(std::cout);
    const TerminalFilter messages(std::cerr);
    return CheckOutput(Run(count, arguments));
}

}  // namespace

int main(int count, char** arguments) {
    std::signal(SIGPIPE, SIG_IGN);
    try {
        Interrupt::Install();
        std::ios::sync_with_stdio(false);
        return RunFiltered(count, arguments);
    } catch (const std::bad_alloc&) {
        // The streams themselves may be what there was no memory for.
        std::fputs("karta-import: ", stderr);
        std::fputs(NotEnoughMemory, stderr);
        std::fputs("\n", stderr);
    } catch (const std::exception& exception) {
        std::cerr << "karta-import: " << exception.what() << '\n';
    } catch (...) {
        // A library's exceptions needn't be of the standard's kind.
        std::cerr << "karta-import: failed for an unknown reason\n";
    }
    return ExitFailed;
}
