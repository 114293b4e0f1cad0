#pragma once

#include <functional>
#include <optional>
#include <string>
#include <utility>

#include "container/KpfFileImport.h"

namespace karta {

/** A reader of projects whose passwords someone knows. */
class ProjectReader : public KpfFileImport {
public:
    /** Tells a file's password at the so-many-eth attempt, from 0; nothing: the file stays closed. */
    using Ask = std::function<std::optional<std::string>(const std::string& fileName, int attempt)>;

    explicit ProjectReader(Ask passwordOf) : ask(std::move(passwordOf)) {}
    /** Knows one password, or none. */
    explicit ProjectReader(std::optional<std::string> password);

    bool SetPassword(CompundFileBase& file, std::string& password) override;
    /** Whether the file wanted a password and none was right. */
    bool IsLocked() const { return isLocked; }

private:
    Ask ask;
    bool isLocked = false;
};

}  // namespace karta
