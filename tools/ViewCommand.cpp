#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iostream>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/Note.h"
#include "base/OutputFile.h"
#include "base/PathNames.h"
#include "base/TemporaryFile.h"
#include "frame/FileContents.h"
#include "tools/Commands.h"
#include "tools/Failure.h"
#include "tools/FileSummary.h"
#include "tools/PageOpener.h"
#include "tools/SpectraOverlay.h"
#include "tools/TableRead.h"
#include "tools/ViewPage.h"
#include "tools/ViewSvg.h"

namespace {

// More tabs aren't found their way through; --part shows any other.
constexpr std::size_t MostTabs = 30;

/** A selection that is read at once, and what is known before its tables are read. */
struct Source {
    ReadRequest request;
    ViewSubject subject;
    std::vector<FileContents::Part> parts;
};

// Parts that are tables of their own. Spectra and blocks stand in one table with each other.
bool IsTable(const FileContents::Part& part) {
    return part.kind != "spectrum" && part.kind != "block";
}

bool ChoosesPart(const ReadRequest& request) {
    return !request.part.empty() || !request.sheets.empty() || !request.matrix.empty() ||
           !request.blocks.empty();
}

std::string TitleOf(const ReadRequest& request) {
    const std::string first = NvGetFileName(request.files.front());
    return request.files.size() == 1 ? first
                                     : first + " and " + std::to_string(request.files.size() - 1) + " more";
}

Source Examine(const ReadRequest& request) {
    FileSummary summary = SummariseFile(request, ChooseFormat(request));
    return {
        request,
        {TitleOf(request), request.files.front(), summary.format, summary.reason, std::move(summary.facts)},
        std::move(summary.parts)};
}

// Whether they are all of one format that can read them as one table.
bool AreOneSelection(const ReadRequest& request) {
    try {
        const std::string format = ChooseFormat(request).GetName();
        return std::all_of(request.files.begin() + 1, request.files.end(), [&](const std::string& file) {
            ReadRequest one = request;
            one.files = {file};
            return ChooseFormat(one).GetName() == format;
        });
    } catch (const Failure& failure) {
        if (failure.GetStatus() != ExitFailed) {
            throw;
        }
        return false;
    }
}

// What is chosen inside of a file has no meaning for several of them.
bool CanOverlay(const ReadRequest& request) {
    return !ChoosesPart(request) && request.want.empty() && !request.noXRow && !request.throughDriver &&
           request.optionsFile.empty();
}

/** Files that make one table or several tabs. */
struct Selection {
    ReadRequest request;
    SpectraGroup group;  // of several files: spectra over each other

    bool IsOverlay() const { return group.files.size() > 1; }
};

// Spectra over each other where they go together, and each other file by itself.
std::vector<Selection> PartSelection(const ReadRequest& request) {
    std::vector<SpectraGroup> groups;
    if (CanOverlay(request)) {
        groups = SpectraOverlay::Group(request);
    } else {
        for (const std::string& file : request.files) {
            groups.push_back({{file}, {}, {}, {}, {}});
        }
    }
    std::vector<Selection> selections;
    for (SpectraGroup& group : groups) {
        selections.push_back({request, std::move(group)});
        selections.back().request.files = selections.back().group.files;
    }
    return selections;
}

// One selection where the format can, as everywhere.
std::vector<Selection> Selections(const ReadRequest& request) {
    if (request.files.size() == 1 || AreOneSelection(request)) {
        return {{request, {}}};
    }
    return PartSelection(request);
}

// Whether the table of a selection has no row of some of its files.
bool LeavesFilesOut(const karta::ReadReport& report) {
    return std::any_of(report.notes.begin(), report.notes.end(), [](const karta::Note& note) {
        return note.code == "other-parts" || note.code == "other-files";
    });
}

// A request for each table of a source, with the title of its tab.
std::vector<std::pair<ReadRequest, std::string>> TablesOf(const Source& source, bool isAlone) {
    const std::string file = isAlone ? "" : source.subject.title;
    const auto count = std::count_if(source.parts.begin(), source.parts.end(), IsTable);
    if (count < 2 || ChoosesPart(source.request)) {
        return {{source.request, source.subject.title}};
    }
    std::vector<std::pair<ReadRequest, std::string>> tables;
    for (std::size_t i = 0; i < source.parts.size() && tables.size() < MostTabs; ++i) {
        const FileContents::Part& part = source.parts[i];
        if (IsTable(part)) {
            ReadRequest request = source.request;
            request.part = std::to_string(i + 1);
            std::string title = file.empty() ? "" : file + ": ";
            title += part.name.empty() ? part.kind + " " + std::to_string(i + 1) : part.name;
            title += part.hidden ? " (hidden)" : "";
            tables.emplace_back(std::move(request), std::move(title));
        }
    }
    return tables;
}

/** Gathers what becomes of each table: the page, or the first picture that can be drawn. */
class Viewer {
public:
    Viewer(const ReadRequest& wanted, bool isPicture)
        : drawsSvg(isPicture), page(TitleOf(wanted), NamesOf(wanted)) {}

    /** False where nothing was added, since the table would leave out files that can be drawn as well. */
    bool Add(const ReadRequest& selection, bool isAlone) {
        Source source;
        try {
            source = Examine(selection);
        } catch (const Failure& failure) {
            AddFailure({TitleOf(selection), selection.files.front(), "none", "see above", {}}, failure);
            return true;
        }
        const auto tables = TablesOf(source, isAlone);
        const bool mayPart = tables.size() == 1 && selection.files.size() > 1 && CanOverlay(selection);
        for (const auto& [request, title] : tables) {
            ViewSubject subject = source.subject;
            subject.title = title;
            const bool isAdded = AddTable(subject, [&wanted = request, mayPart](TableRead& read) {
                ReadRequest quiet = wanted;
                quiet.quiet = wanted.quiet || mayPart;
                ReadTable(quiet, read);
                if (mayPart && LeavesFilesOut(read.report)) {
                    return false;
                }
                if (mayPart) {
                    ShowReport(wanted, read.report);
                }
                return true;
            });
            if (!isAdded) {
                return false;
            }
        }
        return true;
    }

    void AddOverlay(const Selection& selection) {
        const ReadRequest& request = selection.request;
        ViewSubject subject{TitleOf(request), karta::CountOf(request.files.size(), "file"),
                            selection.group.format, "spectra of several files on one axis",
                            selection.group.facts};
        std::vector<std::string> others;
        AddTable(subject, [&](TableRead& read) {
            SpectraOverlay::Read(request, selection.group, read, others);
            return true;
        });
        for (const std::string& file : others) {
            ReadRequest one = request;
            one.files = {file};
            Add(one, false);
        }
    }

    /** The page or picture. Raises Failure where no table could be had. */
    std::string Finish() {
        if (shown == 0 && failure) {
            throw *failure;
        }
        SayFailure();
        if (drawsSvg) {
            if (!svg) {
                throw Failure("there is nothing to draw: no table has curves or columns of numbers");
            }
            return *svg;
        }
        return page.Finish();
    }

    bool HasFailures() const { return failure.has_value(); }

private:
    static std::vector<std::string> NamesOf(const ReadRequest& request) {
        std::vector<std::string> names;
        for (const std::string& file : request.files) {
            names.push_back(request.NameOf(file));
        }
        return names;
    }

    // False where the step has read what isn't wanted.
    template <class Step>
    bool AddTable(const ViewSubject& subject, const Step& readInto) {
        if (svg) {
            return true;
        }
        try {
            TableRead read;
            if (!readInto(read)) {
                return false;
            }
            ++shown;
            if (drawsSvg) {
                svg = DrawSvg(read, subject.title, ViewPage::IsRaman(subject));
            } else {
                page.Add(subject, read);
            }
        } catch (const Failure& reason) {
            AddFailure(subject, reason);
        }
        return true;
    }

    void AddFailure(const ViewSubject& subject, const Failure& reason) {
        if (reason.GetStatus() != ExitFailed) {
            throw reason;
        }
        page.AddFailure(subject, reason.what());
        SayFailure();
        failure = reason;
    }

    // The last one isn't said before it is known whether all have failed: then it is the program's own.
    void SayFailure() const {
        if (failure) {
            std::cerr << "karta-import: " << failure->what() << '\n';
        }
    }

    bool drawsSvg;
    ViewPage page;
    std::size_t shown = 0;
    std::optional<std::string> svg;
    std::optional<Failure> failure;
};

void Save(const std::string& text, const std::string& output) {
    OutputFile file(output);
    file.Write(text);
    if (!file.Commit()) {
        throw Failure(output + ": could not be written: " + std::strerror(file.GetError()));
    }
}

// Of its own name, so that the browser's tab tells it; only its owner can read it.
std::string TemporaryPage(const ReadRequest& request) {
    const std::string folder = MakeTemporaryFolder("karta-import-view-");
    if (folder.empty()) {
        throw Failure("no temporary folder can be made");
    }
    return folder + "/" + NvGetFileName(request.files.front()) + ".html";
}

}  // namespace

int RunView(const ReadRequest& request, const ViewRequest& wanted, PageOpener* opener) {
    // A page under a picture's name could be opened by nothing.
    Viewer viewer(request, wanted.svg || wanted.output.ends_with(".svg"));
    std::vector<Selection> selections = Selections(request);
    if (selections.size() == 1 && !selections.front().IsOverlay()) {
        // What is one table and shows all files needs no further look at them.
        selections = viewer.Add(request, true) ? std::vector<Selection>() : PartSelection(request);
    }
    const std::size_t left = selections.size() - std::min(selections.size(), MostTabs);
    selections.erase(selections.end() - static_cast<std::ptrdiff_t>(left), selections.end());
    for (const Selection& selection : selections) {
        if (selection.IsOverlay()) {
            viewer.AddOverlay(selection);
        } else {
            viewer.Add(selection.request, false);
        }
    }
    if (left > 0 && !request.quiet) {
        std::cerr << "karta-import: note: " << karta::CountOf(left, "more file")
                  << " that are no spectra on a common axis are not shown\n";
    }
    const std::string text = viewer.Finish();
    if (wanted.output == "-") {
        std::cout << text;
    } else if (!wanted.output.empty()) {
        Save(text, wanted.output);
    } else {
        const std::string path = TemporaryPage(request);
        Save(text, path);
        std::cout << path << '\n';
        if (opener != nullptr) {
            opener->Open(path);
        }
    }
    return viewer.HasFailures() ? ExitFailed : ExitSuccess;
}
