#pragma once

#include <sys/types.h>

#include <cstddef>
#include <string>

/**
 * What standard output is to people: a terminal, its size, whether it wants colours, and a pager in front of
 * it. To be made before the sandbox is entered, which lets no pager be started.
 */
class Screen {
public:
    /** Looks at standard output as it is. */
    Screen();
    Screen(const Screen&) = delete;
    Screen& operator=(const Screen&) = delete;
    /** Waits until the user has left the pager. */
    ~Screen();

    bool IsTerminal() const { return isTerminal; }
    /** On a terminal, unless NO_COLOR is set to something. */
    bool HasColour() const { return hasColour; }
    /** In characters; that of COLUMNS, or 80, where there is no terminal. */
    std::size_t GetWidth() const { return width; }
    /** In lines; 0 where there is no terminal. */
    std::size_t GetHeight() const { return height; }

    /**
     * Puts PAGER, or less, between standard output and the terminal, if that is one. A text of one screen is
     * shown without waiting.
     */
    void StartPager();

    /** A whole text that is free of a file's control characters: colours may be in it. */
    void Write(const std::string& text) const;

private:
    bool isTerminal;
    bool hasColour;
    std::size_t width;
    std::size_t height = 0;
    pid_t pager = -1;
};
