#pragma once

#include <memory>
#include <string>

class UStreamBase;

/** What a project is loaded from: streams by their names. */
class NvStreamSource {
public:
    virtual ~NvStreamSource() = default;

    virtual bool StreamExists(const std::string& name) const = 0;
    /** Null when there is no such stream. The source must outlive the stream. */
    virtual std::unique_ptr<UStreamBase> OpenStream(const std::string& name) const = 0;
};
