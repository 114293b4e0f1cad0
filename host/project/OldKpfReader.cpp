#include "host/project/OldKpfReader.h"

#include <utility>

#include "host/project/CompoundFileStreamSource.h"
#include "host/project/ProjectLayout.h"
#include "host/project/ProjectWriter.h"

OldKpfReader::OldKpfReader(std::string projectPath, std::string& passwordText, PasswordCallback callback)
    : path(std::move(projectPath)), password(passwordText), askPassword(std::move(callback)) {}

bool OldKpfReader::ConvertKpf(const std::string& target) {
    PureCompoundFileStreamSource source;
    source.SetContext(context);
    if (!source.Open(path, true) || (source.IsEncrypted() && !askPassword(source, password))) {
        return false;
    }
    const auto stream = source.OpenStream(OldStreamName);
    ProjectContents contents;
    contents.aliasTables = {{"Primary ID", AliasTable::KindPlain}};
    if (stream == nullptr || !ReadOldDataSets(*stream, contents.dataSets)) {
        return false;
    }
    ProjectWriteOptions options;
    options.password = source.IsEncrypted() ? password : std::string();
    return WriteProject(target, contents, options);
}
