#pragma once

#include <string>

/**
 * Shows a page in the user's browser by xdg-open. The sandbox lets no program be started: a child that is
 * made before waits for the page's name and becomes the one that opens it, or ends when there is none.
 */
class PageOpener {
public:
    /** To be made before the sandbox is entered. */
    PageOpener();
    PageOpener(const PageOpener&) = delete;
    PageOpener& operator=(const PageOpener&) = delete;
    ~PageOpener();

    void Open(const std::string& path);

private:
    int descriptor = -1;
};
