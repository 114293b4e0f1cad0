#pragma once

#include <optional>
#include <string>

#include "container/KpfFileImport.h"

/**
 * The program's reader of projects: it knows the password from the command line, or asks for it on the
 * terminal, three times at the most. Without either an encrypted project isn't opened.
 */
class ProjectReader : public KpfFileImport {
public:
    explicit ProjectReader(std::optional<std::string> givenPassword) : password(std::move(givenPassword)) {}

    bool SetPassword(CompundFileBase& file, std::string& text) override;

private:
    std::optional<std::string> password;
};
