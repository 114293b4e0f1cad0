#pragma once

#include <boost/spirit/include/classic_core.hpp>
#include <boost/spirit/include/classic_file_iterator.hpp>

#include "text/CsvParser.h"

/**
 * The grammar of comma-separated text: what the format is, in one place. It reports to a CsvParser while
 * it matches. A host that overrides CsvFile::GetSelectedDelimiter parses with it; CsvFile itself reads with
 * CsvScanner, which is many times faster and has the same outcome.
 *
 *     CsvSyntax syntax(*parser, ';');
 *     const bool whole = boost::spirit::classic::parse(begin, end, syntax).full;
 *
 * Nothing in it is taken back once it has matched, so a cell that was reported stays.
 */
class CsvSyntax : public boost::spirit::classic::grammar<CsvSyntax> {
public:
    /** The parser must outlive the grammar. */
    CsvSyntax(CsvParser& target, char delimiterByte) : parser(target), delimiter(delimiterByte) {}

    template <class Scanner>
    struct definition {
        explicit definition(const CsvSyntax& self) {
            using namespace boost::spirit::classic;
            const CsvParser& to = self.parser;
            const chlit<char> separator(self.delimiter);
            const chlit<char> quote('"');

            textdata = (range_p(' ', '~') - quote - ch_p('#') - separator) | range_p('\x80', '\xff');
            nonescaped = *textdata;
            escaped = quote >> *(textdata | separator | eol_p | str_p("\"\"")) >> quote;
            field = escaped[to.escapedCallback] | nonescaped[to.nonescapedCallback];
            record = (field >> *(separator >> field))[to.recordCallback];
            file = record >> *(eol_p >> !end_p[to.endWithNewLineCallback] >> record);
        }
        const boost::spirit::classic::rule<Scanner>& start() const { return file; }

        boost::spirit::classic::rule<Scanner> textdata, nonescaped, escaped, field, record, file;
    };

private:
    CsvParser& parser;
    char delimiter;
};
