#pragma once

#include <ostream>
#include <streambuf>
#include <string>
#include <string_view>

// What a file holds, its name included, may hold what a terminal obeys. Here is the one place where that is
// taken out of everything that the program says.

/**
 * A text, in UTF-8 or not, with every control character (C0, DEL, C1), every control of the direction of
 * writing and every byte that isn't UTF-8 as an escape: "\n", "\x1b", "\u202e".
 */
std::string VisibleText(std::string_view text);

/** The same, but line feeds and tabs stay: they part the program's own lines and fields. */
void AppendVisibleLines(std::string& target, std::string_view text);

/** Lets a stream write visible lines only, for as long as this lives. */
class TerminalFilter : public std::streambuf {
public:
    explicit TerminalFilter(std::ostream& filteredStream);
    TerminalFilter(const TerminalFilter&) = delete;
    TerminalFilter& operator=(const TerminalFilter&) = delete;
    ~TerminalFilter() override;

protected:
    int overflow(int character) override;
    std::streamsize xsputn(const char* text, std::streamsize count) override;
    int sync() override;

private:
    bool Pass(std::size_t count);

    std::ostream& stream;
    std::streambuf* const target;
    std::string pending;
    std::string visible;
};
