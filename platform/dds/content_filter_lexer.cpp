// Tokens of filter expressions and the literals shared with parameter texts.
#include <charconv>
#include <cstdarg>
#include <cstdio>

#include "content_filter.h"

bool ZELContentFilter_isIdentifierStartI(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
}

bool ZELContentFilter_equalsIgnoringCaseI(std::string_view text, const char *keyword) {
    size_t i = 0;
    for (; i < text.size() && keyword[i] != '\0'; ++i) {
        char c = text[i];
        if (c >= 'a' && c <= 'z') {
            c = static_cast<char>(c - 'a' + 'A');
        }
        if (c != keyword[i]) {
            return false;
        }
    }
    return i == text.size() && keyword[i] == '\0';
}

namespace {

bool ZELContentFilter_isIdentifierPartI(char c) {
    return ZELContentFilter_isIdentifierStartI(c) || (c >= '0' && c <= '9');
}

bool ZELContentFilter_isDigitI(char c) { return c >= '0' && c <= '9'; }

struct ZELContentFilterKeywordI {
    const char *text;
    ZELContentFilterTokenKindI kind;
};

constexpr ZELContentFilterKeywordI kKeywords[] = {
        {"AND", ZELContentFilterTokenKindI::AND},      {"OR", ZELContentFilterTokenKindI::OR},
        {"NOT", ZELContentFilterTokenKindI::NOT},      {"BETWEEN", ZELContentFilterTokenKindI::BETWEEN},
        {"LIKE", ZELContentFilterTokenKindI::LIKE},    {"TRUE", ZELContentFilterTokenKindI::TRUE_},
        {"FALSE", ZELContentFilterTokenKindI::FALSE_},
};

// Scans the characters a number may be made of, so that "12abc" or "0x"
// is read as one malformed number rather than as two tokens.
size_t ZELContentFilter_scanNumberI(std::string_view text, size_t i) {
    if (text[i] == '-' || text[i] == '+') {
        ++i;
    }
    const bool hex = i + 1 < text.size() && text[i] == '0' && (text[i + 1] == 'x' || text[i + 1] == 'X');
    while (i < text.size()) {
        const char c = text[i];
        if (ZELContentFilter_isIdentifierPartI(c) || c == '.') {
            ++i;
        } else if (!hex && (c == '+' || c == '-') && (text[i - 1] == 'e' || text[i - 1] == 'E')) {
            ++i;
        } else {
            break;
        }
    }
    return i;
}

}  // namespace

void ZELContentFilterError_setI(ZELContentFilterError *error, uint32_t position, const char *format, ...) {
    if (error == nullptr) {
        return;
    }
    va_list arguments;
    va_start(arguments, format);
    const int written = std::vsnprintf(error->message, sizeof(error->message), format, arguments);
    va_end(arguments);
    error->position = position;
    const size_t used = written < 0 ? 0 : static_cast<size_t>(written);
    if (position != 0 && used < sizeof(error->message)) {
        std::snprintf(error->message + used, sizeof(error->message) - used, " at %u", position);
    }
}

bool ZELContentFilter_parseNumberI(std::string_view text, ZELContentFilterValueI *value) {
    bool negative = false;
    if (!text.empty() && (text[0] == '-' || text[0] == '+')) {
        negative = text[0] == '-';
        text.remove_prefix(1);
    }
    // A digit or a point must follow the sign: "inf", "nan" and "" are not numbers.
    if (text.empty() || !(ZELContentFilter_isDigitI(text[0]) || text[0] == '.')) {
        return false;
    }
    const char *const end = text.data() + text.size();
    *value = ZELContentFilterValueI{};
    const bool hex = text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
    const bool integer = hex || text.find_first_of(".eE") == std::string_view::npos;
    if (!integer) {
        double magnitude = 0;
        const std::from_chars_result result = std::from_chars(text.data(), end, magnitude);
        if (result.ec != std::errc() || result.ptr != end) {
            return false;
        }
        value->kind = ZELContentFilterValueKindI::FLOAT;
        value->floatValue = negative ? -magnitude : magnitude;
        return true;
    }
    uint64_t magnitude = 0;
    const char *const digits = hex ? text.data() + 2 : text.data();
    const std::from_chars_result result = std::from_chars(digits, end, magnitude, hex ? 16 : 10);
    if (result.ec != std::errc() || result.ptr != end) {
        return false;
    }
    constexpr uint64_t kSignedMax = static_cast<uint64_t>(INT64_MAX);
    if (negative) {
        if (magnitude > kSignedMax + 1) {
            return false;
        }
        value->kind = ZELContentFilterValueKindI::SIGNED;
        value->signedValue = magnitude == kSignedMax + 1 ? INT64_MIN : -static_cast<int64_t>(magnitude);
    } else if (magnitude > kSignedMax) {
        value->kind = ZELContentFilterValueKindI::UNSIGNED;
        value->unsignedValue = magnitude;
    } else {
        value->kind = ZELContentFilterValueKindI::SIGNED;
        value->signedValue = static_cast<int64_t>(magnitude);
    }
    return true;
}

size_t ZELContentFilter_unquoteI(std::string_view quoted, char *out) {
    size_t length = 0;
    for (size_t i = 1; i + 1 < quoted.size(); ++i) {
        out[length++] = quoted[i];
        if (quoted[i] == '\'') {
            ++i;  // the second quote of a doubled pair
        }
    }
    out[length] = '\0';
    return length;
}

uint32_t ZELContentFilter_parameterIndexI(std::string_view token) {
    uint32_t index = 0;
    for (size_t i = 1; i < token.size(); ++i) {
        index = index * 10 + static_cast<uint32_t>(token[i] - '0');
    }
    return index;
}

bool ZELContentFilterLexer_nextI(std::string_view text, uint32_t *offset, ZELContentFilterTokenI *token,
                                 ZELContentFilterError *error) {
    size_t i = *offset;
    while (i < text.size() && (text[i] == ' ' || text[i] == '\t' || text[i] == '\r' || text[i] == '\n')) {
        ++i;
    }
    *token = ZELContentFilterTokenI{};
    token->start = static_cast<uint32_t>(i);
    const uint32_t position = token->start + 1;
    size_t end = i;
    if (i == text.size()) {
        token->kind = ZELContentFilterTokenKindI::END;
    } else if (ZELContentFilter_isIdentifierStartI(text[i])) {
        // A member path is one token; each segment starts with a letter or '_'.
        end = i + 1;
        while (end < text.size()) {
            if (ZELContentFilter_isIdentifierPartI(text[end])) {
                ++end;
            } else if (text[end] == '.' && end + 1 < text.size() &&
                       ZELContentFilter_isIdentifierStartI(text[end + 1])) {
                end += 2;
            } else {
                break;
            }
        }
        token->kind = ZELContentFilterTokenKindI::IDENTIFIER;
        for (const ZELContentFilterKeywordI &keyword : kKeywords) {
            if (ZELContentFilter_equalsIgnoringCaseI(text.substr(i, end - i), keyword.text)) {
                token->kind = keyword.kind;
                break;
            }
        }
    } else if (ZELContentFilter_isDigitI(text[i]) ||
               ((text[i] == '-' || text[i] == '+' || text[i] == '.') && i + 1 < text.size() &&
                (ZELContentFilter_isDigitI(text[i + 1]) || (text[i + 1] == '.' && text[i] != '.')))) {
        end = ZELContentFilter_scanNumberI(text, i);
        ZELContentFilterValueI ignored;
        if (!ZELContentFilter_parseNumberI(text.substr(i, end - i), &ignored)) {
            ZELContentFilterError_setI(error, position, "bad number '%.*s'",
                                       static_cast<int>(end - i > 32 ? 32 : end - i), text.data() + i);
            return false;
        }
        token->kind = ZELContentFilterTokenKindI::NUMBER;
    } else if (text[i] == '\'') {
        end = i + 1;
        for (;;) {
            if (end == text.size()) {
                ZELContentFilterError_setI(error, position, "unterminated string");
                return false;
            }
            if (text[end] == '\'') {
                if (end + 1 < text.size() && text[end + 1] == '\'') {
                    end += 2;
                    continue;
                }
                ++end;
                break;
            }
            ++end;
        }
        token->kind = ZELContentFilterTokenKindI::STRING;
    } else if (text[i] == '%') {
        // %0 to %99; what follows the '%' up to a separator is read as one token.
        end = i + 1;
        bool digitsOnly = true;
        while (end < text.size() && ZELContentFilter_isIdentifierPartI(text[end])) {
            digitsOnly = digitsOnly && ZELContentFilter_isDigitI(text[end]);
            ++end;
        }
        if (end == i + 1 || end - i > 3 || !digitsOnly) {
            ZELContentFilterError_setI(error, position, "bad parameter '%.*s'",
                                       static_cast<int>(end - i > 32 ? 32 : end - i), text.data() + i);
            return false;
        }
        token->kind = ZELContentFilterTokenKindI::PARAMETER;
    } else {
        const char c = text[i];
        const char next = i + 1 < text.size() ? text[i + 1] : '\0';
        token->kind = ZELContentFilterTokenKindI::COMPARISON;
        end = i + 1;
        if (c == '(') {
            token->kind = ZELContentFilterTokenKindI::LEFT_PAREN;
        } else if (c == ')') {
            token->kind = ZELContentFilterTokenKindI::RIGHT_PAREN;
        } else if (c == '=') {
            token->op = ZELContentFilterOpI::EQ;
        } else if (c == '<' && next == '>') {
            token->op = ZELContentFilterOpI::NE;
            end = i + 2;
        } else if (c == '!' && next == '=') {
            token->op = ZELContentFilterOpI::NE;
            end = i + 2;
        } else if (c == '<') {
            token->op = next == '=' ? ZELContentFilterOpI::LE : ZELContentFilterOpI::LT;
            end = next == '=' ? i + 2 : i + 1;
        } else if (c == '>') {
            token->op = next == '=' ? ZELContentFilterOpI::GE : ZELContentFilterOpI::GT;
            end = next == '=' ? i + 2 : i + 1;
        } else if (c > ' ' && c < 0x7f) {
            ZELContentFilterError_setI(error, position, "unexpected character '%c'", c);
            return false;
        } else {
            ZELContentFilterError_setI(error, position, "unexpected character 0x%02x",
                                       static_cast<unsigned>(static_cast<unsigned char>(c)));
            return false;
        }
    }
    token->length = static_cast<uint32_t>(end - i);
    *offset = static_cast<uint32_t>(end);
    return true;
}
