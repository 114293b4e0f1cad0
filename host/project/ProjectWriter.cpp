#include "host/project/ProjectWriter.h"

#include <gsf/gsf.h>

#include <memory>

#include "host/project/ProjectCipher.h"
#include "host/project/ProjectLayout.h"

namespace {

struct Unref {
    void operator()(void* object) const { g_object_unref(object); }
};
using OutputHandle = std::unique_ptr<GsfOutput, Unref>;
using OutfileHandle = std::unique_ptr<GsfOutfile, Unref>;

/** A compound file being written, stream by stream. */
class CompoundWriter {
public:
    explicit CompoundWriter(const std::string& path) {
        gsf_init();
        const OutputHandle file(gsf_output_stdio_new(path.c_str(), nullptr));
        if (file != nullptr) {
            outfile.reset(gsf_outfile_msole_new(file.get()));
        }
        failed = outfile == nullptr;
    }

    void Write(const std::string& name, const std::string& bytes) {
        if (failed) {
            return;
        }
        const OutputHandle stream(gsf_outfile_new_child(outfile.get(), name.c_str(), 0));
        failed = stream == nullptr ||
                 gsf_output_write(stream.get(), bytes.size(),
                                  reinterpret_cast<const guint8*>(bytes.data())) == 0 ||
                 gsf_output_close(stream.get()) == 0;
    }

    bool Close() { return !failed && gsf_output_close(GSF_OUTPUT(outfile.get())) != 0; }

private:
    OutfileHandle outfile;
    bool failed;
};

std::string VersionStream(int version) {
    return {static_cast<char>(version & 0xFF), static_cast<char>(version >> 8)};
}

}  // namespace

bool WriteProject(const std::string& path, const ProjectContents& contents,
                  const ProjectWriteOptions& options) {
    CompoundWriter file(path);
    std::unique_ptr<ProjectCipher> cipher;
    if (options.version != 0) {
        file.Write(ProjectVersion::GetVersionInfoStreamName(), VersionStream(options.version));
    }
    if (!options.password.empty()) {
        cipher =
            std::make_unique<ProjectCipher>(options.password, static_cast<std::uint16_t>(options.version));
        file.Write(ProjectCipher::StreamName, cipher->MakeStream());
    }
    const auto write = [&](const std::string& name, const std::string& bytes) {
        file.Write(name, cipher == nullptr ? bytes : cipher->Seal(bytes, name));
    };
    if (options.version <= ProjectVersion::LastOld) {
        write(OldStreamName, WriteOldDataSets(contents.dataSets));
        return file.Close();
    }
    ProjectCatalogue catalogue;
    catalogue.aliasTables = contents.aliasTables;
    const ValueOrder order =
        options.version == ProjectVersion::Previous ? ValueOrder::ByVariable : ValueOrder::ByObservation;
    for (const DataSetContents& dataSet : contents.dataSets) {
        catalogue.dataSets.push_back({dataSet.id, dataSet.name});
        write(DataSetStreamName(dataSet.id), WriteDataSet(dataSet, order));
    }
    write(ProjectCatalogue::StreamName, WriteCatalogue(catalogue));
    return file.Close();
}

bool WriteProjectStreams(const std::string& path,
                         const std::vector<std::pair<std::string, std::string>>& streams) {
    CompoundWriter file(path);
    for (const auto& [name, bytes] : streams) {
        file.Write(name, bytes);
    }
    return file.Close();
}
