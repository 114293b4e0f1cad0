#pragma once

#include "base/Export.h"

/**
 * The host's specification of an import: what each row and column of the table is. The caller hands it
 * over with `honoured` true; a format that can't honour a specification clears the mark, and so the
 * caller learns of it. The base notes nothing: a host derives from it and overrides what it wants to know.
 *
 * Rows and columns count from 1. The role codes belong to the host and are passed through as they are.
 */
class KARTA_EXPORT ImportSpecBase {
public:
    bool honoured = true;

    virtual ~ImportSpecBase() = default;

    /** The size of the whole table, id rows and id columns included. */
    virtual void SetSpecSize(int /*rows*/, int /*columns*/) {}
    virtual void SetColumnRole(int /*column*/, int /*role*/) {}
    virtual void SetRowRole(int /*row*/, int /*role*/) {}
    /** How a date-time column is written: its two format texts and three values of the variable. */
    virtual void SetDateTimeFormat(int /*column*/, const char* /*dateFormat*/, const char* /*timeFormat*/,
                                   int /*origin*/, int /*unit*/, int /*resolution*/) {}
};
