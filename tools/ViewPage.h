#pragma once

#include <sstream>
#include <string>
#include <vector>

#include "base/Note.h"
#include "frame/FileContents.h"
#include "tools/Json.h"
#include "tools/TableRead.h"

/** What is told of a table beside its cells. */
struct ViewSubject {
    std::string title;  // of its tab
    std::string file;
    std::string format;
    std::string reason;  // why this format
    std::vector<FileContents::Fact> facts;
};

/**
 * One HTML page that is whole in itself, with a plot, the head, facts and notes of each table that was added.
 * It reaches for nothing beyond itself, and texts of files are in it as data only.
 */
class ViewPage {
public:
    /** Both are for people: what the page is about, and the files, as they were named. */
    ViewPage(const std::string& title, const std::vector<std::string>& files);

    /** Nothing of the table is needed afterwards. */
    void Add(const ViewSubject& subject, TableRead& read);
    /** A table that can't be had, and why. */
    void AddFailure(const ViewSubject& subject, const std::string& text);

    /** Whether its spectra are of Raman scattering, whose shifts grow from left to right. */
    static bool IsRaman(const ViewSubject& subject);

    /** The whole page; to be called once, at the end. */
    std::string Finish();

private:
    void BeginTable(const ViewSubject& subject);

    std::ostringstream stream;
    JsonWriter json{stream};
};
