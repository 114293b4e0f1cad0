#include "host/project/ProjectWriter.h"

#include <gsf/gsf.h>

#include <memory>

#include "base/LazyLibrary.h"
#include "host/project/ProjectCipher.h"
#include "host/project/ProjectLayout.h"

namespace {

/** What is called of libgsf, which projects alone are written with. */
struct Gsf {
    Gsf() : library(KARTA_GSF_LIBRARY) { library.Find<void()>("gsf_init")(); }

    LazyLibrary library;
    decltype(&gsf_output_stdio_new) newFile =
        library.Find<decltype(gsf_output_stdio_new)>("gsf_output_stdio_new");
    decltype(&gsf_outfile_msole_new) newOutfile =
        library.Find<decltype(gsf_outfile_msole_new)>("gsf_outfile_msole_new");
    decltype(&gsf_outfile_new_child) newChild =
        library.Find<decltype(gsf_outfile_new_child)>("gsf_outfile_new_child");
    decltype(&gsf_output_write) write = library.Find<decltype(gsf_output_write)>("gsf_output_write");
    decltype(&gsf_output_close) close = library.Find<decltype(gsf_output_close)>("gsf_output_close");
    decltype(&g_object_unref) unref = library.Find<decltype(g_object_unref)>("g_object_unref");
};

const Gsf& TheGsf() {
    static const Gsf gsf;
    return gsf;
}

struct Unref {
    void operator()(void* object) const { TheGsf().unref(object); }
};
using OutputHandle = std::unique_ptr<GsfOutput, Unref>;
using OutfileHandle = std::unique_ptr<GsfOutfile, Unref>;

/** A compound file being written, stream by stream. */
class CompoundWriter {
public:
    explicit CompoundWriter(const std::string& path) : gsf(TheGsf()) {
        const OutputHandle file(gsf.newFile(path.c_str(), nullptr));
        if (file != nullptr) {
            outfile.reset(gsf.newOutfile(file.get()));
        }
        failed = outfile == nullptr;
    }

    void Write(const std::string& name, const std::string& bytes) {
        if (failed) {
            return;
        }
        const OutputHandle stream(gsf.newChild(outfile.get(), name.c_str(), 0));
        failed = stream == nullptr ||
                 gsf.write(stream.get(), bytes.size(), reinterpret_cast<const guint8*>(bytes.data())) == 0 ||
                 gsf.close(stream.get()) == 0;
    }

    // An outfile is an output: the library's own cast would call into it before it is loaded.
    bool Close() { return !failed && gsf.close(reinterpret_cast<GsfOutput*>(outfile.get())) != 0; }

private:
    const Gsf& gsf;
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
