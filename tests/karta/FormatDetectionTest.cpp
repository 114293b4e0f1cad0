// Which format a file is taken for, and why.
#include "karta/internal/FormatDetection.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/Samples.h"
#include "tests/support/TempFolder.h"

namespace {

using karta::Reading;

class FormatDetectionTest : public testing::Test {
protected:
    FormatDetectionTest() { formats.Init(nullptr); }

    FormatFinding Find(const std::string& name, const std::string& bytes,
                       Reading reading = Reading::Complete) {
        return FormatDetection(formats).DetectForUser(folder.Write(name, bytes), reading);
    }

    std::string NameOf(const FormatFinding& finding) const {
        return finding.format == 0 ? "none" : formats.GetInfo(finding.format)->formatName;
    }

    std::string Choice(const std::string& name, const std::string& bytes,
                       Reading reading = Reading::Complete) {
        return NameOf(Find(name, bytes, reading));
    }

    FormatCatalogue formats;
    TempFolder folder;
};

const std::string Binary = std::string("\1\2\3\4\5\6\7\x08", 8) + std::string(3000, '\2');

}  // namespace

TEST_F(FormatDetectionTest, ProofComesBeforeTheExtension) {
    const std::string jcamp = "##TITLE=x\n##JCAMP-DX=4.24\n##END=\n";
    for (const char* name : {"a.jdx", "a.spc", "a.txt", "a"}) {
        EXPECT_EQ(Choice(name, jcamp), "JCAMP-DX File") << name;
        EXPECT_EQ(Find(name, jcamp).reason, "proved by the content") << name;
    }
}

// Who only chooses asks no format behind the first one that is proved.
TEST_F(FormatDetectionTest, AChoiceIsTheSameWithFewerVerdicts) {
    int shortened = 0;
    for (const Sample& sample : ReadableSamples()) {
        for (const Reading reading : {Reading::Complete, Reading::Classic}) {
            const FormatFinding all = FormatDetection(formats).DetectForUser(sample.path, reading);
            const FormatFinding choice = FormatDetection(formats).DetectForUser(
                sample.path, reading, FormatDetection::Verdicts::UpToProof);
            EXPECT_EQ(choice.format, all.format) << sample.path;
            EXPECT_EQ(choice.reason, all.reason) << sample.path;
            EXPECT_EQ(all.verdicts.size(), static_cast<std::size_t>(formats.SizeInfos()));
            shortened += choice.verdicts.size() < all.verdicts.size() ? 1 : 0;
        }
    }
    EXPECT_GT(shortened, 10);
}

TEST_F(FormatDetectionTest, ExtensionDecidesAmongWhatIsPossible) {
    const FormatFinding finding = Find("a.CSV", "a,b\n1,2\n");
    EXPECT_EQ(NameOf(finding), "CSV File");
    EXPECT_EQ(finding.reason, "possible by the content, chosen by the extension .csv");
    // Both PLANO File and Text File list it.
    EXPECT_EQ(Choice("a.dat", "a\tb\n"), "Text File");
    for (const char* extension : {".tsv", ".tab", ".asc", ".prn"}) {
        EXPECT_EQ(Choice("a" + std::string(extension), "a\tb\n"), "Text File") << extension;
    }
}

TEST_F(FormatDetectionTest, ReadableTextOfAnyNameIsText) {
    for (const std::string& text : {std::string("a\tb\n"), std::string("\xe5;\xe4\n"),
                                    std::string("\xff\xfe"
                                                "a\0b\0",
                                                6),
                                    std::string("a\0,\0b\0\n\0", 8), std::string("\0a\0,\0b\0\n", 8),
                                    std::string("\xef\xbb\xbf"
                                                "a")}) {
        EXPECT_EQ(Choice("noextension", text), "Text File");
        EXPECT_EQ(Choice("a.xyz", text), "Text File");
        EXPECT_EQ(Choice("a.txt", text), "Text File");
        EXPECT_EQ(Choice("a.csv", text), "CSV File");
    }
}

TEST_F(FormatDetectionTest, NothingElseIsGuessed) {
    for (const Reading reading : {Reading::Classic, Reading::Complete}) {
        for (const char* name : {"noextension", "a.xyz"}) {
            const FormatFinding finding = Find(name, Binary, reading);
            EXPECT_EQ(NameOf(finding), "none") << name;
            EXPECT_TRUE(finding.reason.starts_with("The file type could not be determined: "));
            EXPECT_FALSE(finding.possible.empty()) << finding.reason;
        }
    }
    EXPECT_EQ(Choice("a.txt", Binary), "none");
    // The driver's own way is to take the first that isn't ruled out.
    EXPECT_NE(FormatDetection(formats).Detect(folder.Write("a.xyz", Binary), Reading::Classic).format, 0);
}

TEST_F(FormatDetectionTest, KnownKindsOfFilesAreNamed) {
    EXPECT_EQ(Find("a.csv", "\x1f\x8b\x08 and so on").reason,
              "This is gzip-compressed data, which isn't read; unpack it first, with gunzip.");
    EXPECT_EQ(Find("a.xls", "BZh91AY&SY").reason,
              "This is bzip2-compressed data, which isn't read; unpack it first, with bunzip2.");
    EXPECT_EQ(Find("a.pdf", "%PDF-1.4\n").reason, "This is a PDF document, which isn't read.");
    EXPECT_EQ(Find("a.zip", std::string("PK\3\4", 4) + Binary).reason,
              "This is a zip archive without a workbook, which isn't read; unpack it first.");
    EXPECT_EQ(Find("a", std::string("\x89HDF\r\n\x1a\n", 8) + Binary).reason,
              "This is an HDF5 file, as MATLAB 7.3 and netCDF-4 write them, which isn't read; save it as "
              "MATLAB 7 or "
              "as netCDF classic.");
}

TEST_F(FormatDetectionTest, ShortNamesNameFormats) {
    for (const auto& [shortName, name] : {std::pair{"text", "Text File"},
                                          {"CSV", "CSV File"},
                                          {"dif-oem", "DIF File(OEM)"},
                                          {"lotus", "Lotus 1-2-3 File"}}) {
        EXPECT_EQ(formats.FindFormat(shortName), formats.FindFormat(name)) << shortName;
        EXPECT_NE(formats.FindFormat(shortName), 0) << shortName;
    }
    EXPECT_EQ(formats.FindFormat("nonsense"), 0);
    for (int i = 1; i <= formats.SizeInfos(); ++i) {
        const FormatRecogniser* recogniser = formats.GetRecogniser(i);
        if (recogniser == nullptr) {
            continue;
        }
        EXPECT_EQ(formats.FindFormat(recogniser->GetShortName()), i) << recogniser->GetShortName();
    }
}
