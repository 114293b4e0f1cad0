#pragma once

#include <stdexcept>
#include <string>

#include "base/Export.h"
#include "base/Place.h"

namespace karta {

/** What kind of thing went wrong: what a program can act on. */
enum class ErrorCode {
    NotFound,      /**< there is no such file */
    NoPermission,  /**< the file may not be read */
    NotAFile,      /**< a folder, a pipe, a device; or a name that a selection can't have */
    NotReadable,   /**< the system can't read it for another reason */
    UnknownFormat, /**< the name is of no format */
    NotDetermined, /**< no format fits the file, or it is of a kind that isn't read */
    UnknownOption, /**< the format knows no such option in this reading */
    BadOption,     /**< the option's value makes no sense */
    NoSuchPart,    /**< the file has no part of this name or place */
    BadFile,       /**< the file isn't what its format says, or holds no table */
    NeedsPassword, /**< the file is encrypted, and the password is wrong or missing */
    LimitExceeded, /**< the read wants more than it may take */
    OutOfMemory,   /**< there is not enough memory */
    Stopped,       /**< the stop token was set */
    DoesNotFit     /**< a file of a scan isn't like the first ones */
};

/** The code as programs write it: "not-found". A literal. */
KARTA_EXPORT const char* NameOf(ErrorCode code);

/**
 * Why there is no table. what() is the whole sentence for people: the file, the option, the text and what to
 * try. All texts are UTF-8 but the file's name, which is as it was given.
 */
class KARTA_EXPORT Error : public std::runtime_error {
public:
    /** All that is known of a failure; what doesn't apply stays empty. */
    struct Details {
        ErrorCode code = ErrorCode::BadFile;
        std::string file = {};   /**< the path as it was given */
        std::string format = {}; /**< the format's name */
        std::string option = {}; /**< of ReadOptions or ScanOptions, as it is called there */
        std::string text = {};   /**< what is wrong, without file and option */
        std::string advice = {}; /**< what to try */
        Place place = {};        /**< where in the file, as far as its reader knows */
    };

    explicit Error(Details details);

    ErrorCode GetCode() const { return known.code; }
    const std::string& GetFile() const { return known.file; }
    const std::string& GetFormat() const { return known.format; }
    const std::string& GetOption() const { return known.option; }
    const std::string& GetText() const { return known.text; }
    const std::string& GetAdvice() const { return known.advice; }
    const Place& GetPlace() const { return known.place; }
    const Details& GetDetails() const { return known; }

private:
    Details known;
};

}  // namespace karta
