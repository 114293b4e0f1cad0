#include "base/JsonText.h"

#include <bit>
#include <cstddef>
#include <cstdint>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include "base/ByteWord.h"
#include "base/VisibleCharacter.h"

namespace {

bool IsPlain(char c) {
    return c >= 0x20 && c < 0x7f && c != '"' && c != '\\';
}

// The first byte that isn't plain: sixteen are looked at together, then eight, and then one by one.
const char* FindNotPlain(const char* at, const char* end) {
#ifdef __SSE2__
    for (; end - at >= 16; at += 16) {
        const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(at));
        // Bytes beyond ASCII are negative there.
        const __m128i others = _mm_or_si128(_mm_or_si128(_mm_cmplt_epi8(block, _mm_set1_epi8(0x20)),
                                                         _mm_cmpeq_epi8(block, _mm_set1_epi8(0x7f))),
                                            _mm_or_si128(_mm_cmpeq_epi8(block, _mm_set1_epi8('"')),
                                                         _mm_cmpeq_epi8(block, _mm_set1_epi8('\\'))));
        const auto found = static_cast<unsigned int>(_mm_movemask_epi8(others));
        if (found != 0) {
            return at + std::countr_zero(found);
        }
    }
#endif
    if constexpr (ByteWord::IsUsable) {
        for (; end - at >= 8; at += 8) {
            const std::uint64_t word = ByteWord::Load(at);
            const std::uint64_t found = ByteWord::Find(word, '"') | ByteWord::Find(word, '\\') |
                                        ByteWord::Find(word, 0x7f) |
                                        ((word | (word - 0x20 * ByteWord::Ones)) & ByteWord::HighBits);
            if (found != 0) {
                return at + std::countr_zero(found) / 8;
            }
        }
    }
    while (at != end && IsPlain(*at)) {
        ++at;
    }
    return at;
}

}  // namespace

const char* FindJsonEscape(std::string_view text) {
    const char* at = text.data();
    const char* const end = at + text.size();
    while (true) {
        at = FindNotPlain(at, end);
        const std::size_t visible = at == end || static_cast<unsigned char>(*at) < 0x80
                                        ? 0
                                        : GetVisibleLength({at, static_cast<std::size_t>(end - at)});
        if (visible == 0) {
            return at;
        }
        at += visible;
    }
}

void AppendJsonEscape(std::string& json, std::string_view& text) {
    if (text.front() == '"' || text.front() == '\\') {
        json += {'\\', text.front()};
        text.remove_prefix(1);
    } else {
        AppendVisibleCharacter(json, text, EscapeStyle::Json);
    }
}

void AppendJsonText(std::string& json, std::string_view text) {
    json += '"';
    ForEachJsonPiece(text, [&json](std::string_view piece) { json += piece; });
    json += '"';
}
