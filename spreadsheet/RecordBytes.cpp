#include "spreadsheet/RecordBytes.h"

void RecordBytes::Seek(long long offset, int origin) {
    LeaveWindow();
    stream->Seek(offset, origin);
}

int RecordBytes::Tell() {
    LeaveWindow();
    return stream->Tell();
}

// The piece that the window doesn't hold to its end, and a look at what lies behind it.
bool RecordBytes::ReadOn(char* buffer, std::size_t count) {
    LeaveWindow();
    stream->Read(buffer, static_cast<int>(count));
    if (stream->GetStatus() != 0) {
        return false;
    }
    window = stream->GetAhead();
    return true;
}

// The stream stands behind what was taken.
void RecordBytes::LeaveWindow() {
    if (taken > 0) {
        stream->Seek(static_cast<long long>(taken), 1);
    }
    window = {};
    taken = 0;
}
