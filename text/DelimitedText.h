#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/JsonRows.h"
#include "base/ReadContext.h"
#include "base/SeparatedText.h"
#include "frame/CellOutput.h"
#include "frame/CellRunSink.h"
#include "frame/FileContents.h"
#include "frame/RowTextSink.h"
#include "text/ColumnTypes.h"
#include "text/DelimitedOptions.h"
#include "text/JsonRowSink.h"
#include "text/LinePiece.h"
#include "text/PieceReaders.h"
#include "text/RecordScanner.h"
#include "text/TextDialect.h"
#include "text/TextHead.h"
#include "text/TextSource.h"

/**
 * The complete reading of delimited text: every record is a row, every field a cell of the type that its
 * column has. Encoding, dialect and types are proposed by the file's beginning. A table gets each column
 * that turns out otherwise converted again, from the file's own bytes; a sink that lets go of rows keeps what
 * was proposed, and later contradictions are text.
 */
class DelimitedText {
public:
    /** The context must outlive this. */
    explicit DelimitedText(karta::ReadContext& readContext) : context(readContext) {}
    DelimitedText(const DelimitedText&) = delete;
    DelimitedText& operator=(const DelimitedText&) = delete;
    ~DelimitedText() = default;

    /** Raises a std::exception with its reason for people. */
    void Open(const char* path, const DelimitedOptions& choices);

    /**
     * `startOver` is for a sink that lets go of rows and can begin anew: where the columns turn out otherwise
     * than the file's beginning has them, it is called, and then all rows come once more.
     */
    void Read(ReadSpreadSheetData& sink, const std::function<void()>& startOver = {});

    struct Size {
        int cols = 0;
        int rows = 0;
    };
    /** Counts records and fields. */
    Size Measure();

    std::vector<FileContents::Fact> ListFacts() const;
    const TextHead& GetHead() const { return head; }

private:
    void ExamineHead();
    void NameTextColumns();
    std::vector<ColumnType> ResolveTypes() const;
    RecordScanner MakeScanner() const;

    void BeginReading();
    void SettleTypes();
    void ReadRecords(CellOutput& output);
    bool ReadRecord(RecordScanner& scanner, CellOutput& output);
    bool ReadRowText(RecordScanner& scanner, CellOutput& output);
    bool MayPart(const RecordScanner& scanner) const;
    LineRules GetLineRules() const;
    std::string_view CutRecords(std::size_t place, std::size_t pieceSize) const;
    std::size_t PlaceOf(const char* byte) const { return static_cast<std::size_t>(byte - text.data()); }
    void ReadPieces(PieceReaders& readers, RecordScanner& scanner, CellOutput& output);
    void ExpectRows(std::size_t place);
    bool IsBelievedPlain() const { return plainUntil > 0; }
    bool AreFieldsUtf8() const { return IsBelievedPlain() || !source.NeedsConversion(); }
    bool IsPlainUpTo(std::size_t end);
    void ProveNext(RecordScanner& scanner);
    void GiveUpBelief(RecordScanner& scanner, std::size_t place);
    void EndBelief();
    void PutPiece(const LinePiece& piece, RecordScanner& scanner, CellOutput& output);
    bool IsBelowHead() const;
    bool WantsOtherRows() const;
    void PutOpenRecord(const LinePiece& piece, RecordScanner& scanner, CellOutput& output);
    void ReadRecordsBefore(std::size_t end, RecordScanner& scanner, CellOutput& output);
    void PutRowTexts(const LinePiece& piece, RecordScanner& scanner, CellOutput& output);
    void PutRowTexts(const LinePiece::RowTexts& stretch, std::string_view rowsAsText);
    void BeginRowTexts();
    std::string_view GetRowTexts() const;
    bool PutRowText(const RecordScanner& scanner);
    void PutJsonRow(const RecordScanner& scanner);
    void PutSeparatedRow(const RecordScanner& scanner);
    void HandOutRowTexts();
    void AddZones(std::uint64_t count, std::size_t first);
    void PutRows(const LinePiece& piece, std::uint32_t first, std::uint32_t last, CellOutput& output);
    void PutOther(const LinePiece& piece, const LinePiece::Other& other, CellOutput& output, int col,
                  int row);
    void PutColumn(const LinePiece& piece, std::size_t col, std::uint32_t first, std::uint32_t last,
                   CellOutput& output);
    bool HasRuns(std::size_t col) const;
    bool MakesTextRuns() const;
    void PutRun(const LinePiece& piece, std::size_t col, std::uint32_t first, std::uint32_t last, int row,
                CellOutput& output);
    void PutNumberRun(const LinePiece& piece, std::size_t col, std::uint32_t first, std::uint32_t last,
                      int row);
    void PutRow(const LinePiece& piece, std::uint32_t row, CellOutput& output);
    void TellProgress(std::size_t place) const;
    void LetGoBefore(std::size_t place);
    void BeginRecord(std::size_t start);
    void EndRecord(CellOutput& output, int width);
    void Vote(int width);
    void Contradict();
    int PutRecord(const RecordScanner& scanner, CellOutput& output);
    int PutLine(std::string_view line, CellOutput& output);
    bool PutPlainNumber(const char*& at, const char* end, CellOutput& output, int col);
    void PutField(const RecordScanner& scanner, const TextField& field, CellOutput& output, int col, int row);
    void PutValue(std::string_view value, CellOutput& output, int col, int row);
    void PutLooked(const FieldForm& form, std::string_view value, CellOutput& output, int col, int row);
    void PutText(std::string_view value, CellOutput& output, int col, int row);
    void ConvertAgain(CellOutput& output);
    void ReadAgain(CellOutput& output, const std::function<void()>& startOver);
    void ConvertColumns(const std::vector<std::size_t>& columns, CellOutput& output);

    void NoteFaults(const RecordScanner& scanner);
    void AddNotes();
    std::string LineOf(std::size_t offset) const;

    karta::ReadContext& context;
    DelimitedOptions options;
    TextSource source;
    std::string_view text;  // without a directive
    TextDialect dialect;
    bool hasDirective = false;
    TextHead head;
    ColumnTypes evidence{false, '\0'};
    std::vector<ColumnType> types;
    Size size;

    // Of the record at hand.
    std::size_t recordStart = 0;
    bool isHead = false;
    bool isRemark = false;
    struct OtherForm {
        int col;
        std::uint32_t bits;
        std::size_t start;  // of the record or field
    };
    std::vector<OtherForm> votes;  // of fields that aren't of their columns' types
    bool isStreaming = false;
    CellRunSink* cellRuns = nullptr;  // the sink, where it wants them
    RowTextSink* rowTextSink = nullptr;
    std::optional<RowTextForm> rowTextForm;  // as the sink wanted it when it was last looked
    // Records that aren't handed out yet, in one of the forms.
    SeparatedText rowTexts;
    JsonRows jsonRows;
    JsonRowSink jsonSink{jsonRows};
    CellOutput jsonOutput{jsonSink};
    int firstRowInTexts = 0;
    int rowsInTexts = 0;
    std::size_t widestInTexts = 0;
    std::size_t letGo = 0;  // of a text that streams: what is behind the reading
    // Of the pieces: how far the columns' others were handed out.
    std::vector<std::size_t> othersPut;
    // Of a text that is believed to be plain: how far it was seen to be, and by how many records read by
    // themselves; 0 of all others.
    std::size_t plainUntil = 0;
    int proven = 0;
    bool spanLines = false;  // records do, so that a line end may be in quotes
    std::vector<double> rowNumbers;
    std::vector<std::pair<int, std::string_view>> sourcesOfRow;
    std::string storage;
    std::string utf8;

    struct Faults {
        std::uint64_t count = 0;
        std::size_t first = 0;  // where in the text
    };
    Faults textsBehind;
    Faults unclosed;
    Faults contradictions;
    Faults zones;
};
