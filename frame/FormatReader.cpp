#include "frame/FormatReader.h"

#include <algorithm>

#include "base/CopyMessage.h"
#include "host/Log.h"
#include "host/NvFile.h"
#include "host/Question.h"

void FormatReader::SetContext(std::shared_ptr<karta::ReadContext> newContext) {
    context = std::move(newContext);
    isOwnContext = context == nullptr;
}

const std::shared_ptr<karta::ReadContext>& FormatReader::GetContext() const {
    if (context == nullptr) {
        // Whoever gives no context sets no limits either.
        context = std::make_shared<karta::ReadContext>();
        context->budget.SetLimit(karta::Budget::Unlimited);
    }
    return context;
}

void FormatReader::AddInputs(const char* fileNames) {
    for (const std::string& name : NvFile::GetFileNames(fileNames)) {
        GetContext()->budget.AddInput(name.c_str());
    }
}

void FormatReader::Close() {
    failureText.clear();
    failurePlace = {};
    sizeKnown = false;
    if (isOwnContext) {
        // What the last read charged and noted isn't the next one's.
        context.reset();
    }
    SpreadsheetFile::Close();
}

void FormatReader::CopyStatusText(std::span<const StatusText> texts, char* buffer, unsigned int size) {
    const auto found = std::find_if(texts.begin(), texts.end(),
                                    [this](const StatusText& entry) { return entry.status == status; });
    if (status != StatusOk && !failureText.empty()) {
        CopyMessage(failureText, buffer, size);
    } else if (found != texts.end()) {
        CopyMessage(found->text, buffer, size);
    } else {
        SpreadsheetFile::GetErrorMessage(buffer, size);
    }
}

bool FormatReader::Ask(const std::string& text) const {
    return context != nullptr && context->question ? context->question(text) : Question::Ask(text);
}

void FormatReader::WriteLog(const std::string& section, const std::string& key, const std::string& text,
                            int importance, const std::string& detail) const {
    if (context != nullptr && context->log) {
        context->log(section, key, detail.empty() ? text : text + " (" + detail + ")");
    } else {
        Log::WriteMessage(section, key, text, importance, detail);
    }
}
