#pragma once

#include <exception>
#include <string>
#include <utility>

/** A document isn't XML, or not within bounds. */
class BrooksideParseFailure : public std::exception {
public:
    /** Which side of the XML library said so. */
    enum Kind { Document, Library, Tree };

    BrooksideParseFailure(Kind failureKind, std::string message)
        : kind(failureKind), text(std::move(message)) {}
    Kind GetKind() const { return kind; }
    const char* what() const noexcept override { return text.c_str(); }

private:
    Kind kind;
    std::string text;
};
