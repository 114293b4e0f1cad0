#pragma once

#include <functional>
#include <memory>
#include <string>
#include <utility>

#include "base/ReadContext.h"

class CompundFileBase;

/** Rewrites a project of the layouts of old, up to version 4, in the layout of today. */
class OldKpfReader {
public:
    /** Asks for the password of a project and sets it; false when there is none. */
    using PasswordCallback = std::function<bool(CompundFileBase&, std::string&)>;

    /** `passwordText` receives the password of an encrypted project. It must outlive the reader. */
    OldKpfReader(std::string projectPath, std::string& passwordText, PasswordCallback callback);

    /** For whom it is read; without one nothing of it is counted. */
    void SetContext(std::shared_ptr<karta::ReadContext> readContext) { context = std::move(readContext); }

    /** Writes the project to `target`, sealed with its own password. False for what is no such project. */
    bool ConvertKpf(const std::string& target);

private:
    std::string path;
    std::string& password;
    PasswordCallback askPassword;
    std::shared_ptr<karta::ReadContext> context;
};
