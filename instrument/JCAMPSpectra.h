#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/Note.h"
#include "base/NumberStore.h"
#include "base/ReadContext.h"
#include "instrument/EvenAxis.h"
#include "instrument/JCAMPDecoder.h"
#include "instrument/JCAMPDocument.h"

class JCAMPStream;

/** One of the quantities that a table of data is made of. */
struct JCAMPVariable {
    std::string symbol; /**< "X", "F2" */
    std::string name;   /**< "FREQUENCY2"; empty outside of n-tuples */
    std::string units;
    double first = std::numeric_limits<double>::quiet_NaN();
    double last = std::numeric_limits<double>::quiet_NaN();
    double delta = std::numeric_limits<double>::quiet_NaN();
    double factor = 1.0;
    int points = -1; /**< as the file says; -1 where it doesn't */
};

/** One spectrum, decoded: one point at least. */
struct JCAMPSpectrum {
    std::vector<std::pair<std::string, std::string>> page; /**< symbols and values: {"F1", "4370.0"} */
    JCAMPVariable x;
    JCAMPVariable y;
    bool isPeaks = false;
    bool isEven = true;      /**< the X values go by a step */
    EvenAxis axis;           /**< of even ones */
    karta::StoredNumbers xs; /**< of others */
    karta::StoredNumbers ys; /**< NaN where one is missing */
    bool haveGaps = false;

    double GetX(std::size_t point) const { return isEven ? axis.GetX(point) : xs[point]; }
    double GetLastX() const { return GetX(ys.size() - 1); }
    std::vector<double> MakeAxis() const {
        return isEven ? axis.Make(ys.size()) : std::vector<double>(xs.Get().begin(), xs.Get().end());
    }
};

/** Decodes the tables of blocks into spectra, losing nothing that they say. */
class JCAMPSpectra {
public:
    /** Where the values of one table after the other are gathered: ordinates in one, tuples one a symbol. */
    using Rooms = std::vector<karta::NumberRoom>;

    /**
     * The stream takes whole lines; all stay the caller's. The values go into the store. Notes name their
     * block as `blockName`.
     */
    JCAMPSpectra(JCAMPStream& fileStream, const JCAMPBlock& fileBlock, karta::ReadContext& readContext,
                 karta::NumberStore& numberStore, Rooms& tableRooms, std::string name);

    /**
     * Appends the spectra of one table. Returns one of JCAMPFile's codes, for which `GetProblem` has the
     * words.
     */
    int Decode(const JCAMPDataTable& table, std::vector<JCAMPSpectrum>& spectra);
    /** Why the last table can't be read. */
    const std::string& GetProblem() const { return problem; }
    /** The line that it stands in; 0 for none. */
    int GetProblemLine() const { return problemLine; }
    /** What isn't as the tables' labels say. */
    const std::vector<karta::Note>& GetNotes() const { return notes; }

private:
    /** How the values of a table are written. */
    struct Notation {
        bool commaSeparates = true;
        bool plainExponents = false;
    };
    /** The symbols of a form. */
    struct Form {
        bool isTuples = false;
        bool isKnown = false;
        std::vector<std::string> symbols;
    };
    /** What the decoding of one table found. */
    struct Decoded {
        Rooms columns;
        bool haveGaps = false;
        int failedChecks = 0;
        int firstFailedLine = 0;
        std::vector<std::pair<std::size_t, double>> heads;  // the point that a line begins with, and its X
        std::vector<int> headLines;
        unsigned int marks = 0;  // of the characters that were met
        int code = 0;
        int line = 0;
    };

    Form ParseForm(const JCAMPDataTable& table) const;
    JCAMPVariable MakeVariable(const std::string& symbol, const JCAMPDataTable& table) const;
    JCAMPVariable MakeTupleVariable(const std::string& symbol, const JCAMPDataTable& table) const;
    std::vector<Notation> FindNotations(const JCAMPDataTable& table);
    Decoded DecodeTable(const JCAMPDataTable& table, const Form& form, const JCAMPVariable& x);
    Decoded DecodeAs(const JCAMPDataTable& table, const Form& form, const Notation& notation);
    void DecodeOrdinates(const JCAMPDataTable& table, const Notation& notation, Decoded& decoded);
    void DecodeTuples(const JCAMPDataTable& table, const Notation& notation, Decoded& decoded);
    void TakeRuns(JCAMPDecoder& decoder, karta::NumberRoom& ys, double& lastY, bool& checkPending);
    int DecodeOrdinateLine(std::string_view line, const Notation& notation, Decoded& decoded, double& lastY,
                           bool& checkPending);
    bool AddRepeated(const JCAMPDecoder::Value& value, std::int64_t count, Decoded& decoded, double& lastY);
    int Fail(int code, int line);
    void MakeAxis(JCAMPSpectrum& spectrum, const Decoded& decoded);
    void NoteChecks(const JCAMPSpectrum& spectrum, const Decoded& decoded);
    void NoteHeads(const JCAMPSpectrum& spectrum, const Decoded& decoded);
    karta::StoredNumbers Keep(karta::NumberRoom& values, double factor);
    void AddNote(const char* code, std::uint64_t count, int line, const std::string& text);
    std::vector<std::pair<std::string, std::string>> PageOf(const JCAMPDataTable& table) const;

    JCAMPStream& stream;
    const JCAMPBlock& block;
    karta::ReadContext& context;
    karta::NumberStore& store;
    Rooms& rooms;
    std::string blockName;
    std::int64_t repetitionsLeft;
    std::string problem;
    int problemLine = 0;
    std::vector<karta::Note> notes;
};

/** The number that a label's value is, a decimal comma accepted; NaN where it is none. */
double ToJCAMPNumber(std::string_view text);

/** The fields of a comma-separated list. */
std::vector<std::string> SplitJCAMPList(std::string_view text);
