#pragma once

#include <span>
#include <string_view>

namespace keldra {

/// Writes one short text into a caller's buffer: always NUL-terminated, cut where the buffer ends,
/// never dependent on the locale, never allocating. Any thread.
class CTextWriter {
public:
    /// @param text  receives the text; becomes an empty string at once; may be empty itself
    explicit CTextWriter(std::span<char> text);

    CTextWriter& Append(std::string_view part);
    CTextWriter& AppendInt(int value); ///< as printf's "%d"
    /// As printf's "%.<decimals>f" in the C locale: correctly rounded. @param decimals  0 .. 6
    CTextWriter& AppendFixed(double value, int decimals);

private:
    std::span<char> text_;
    std::size_t length_ = 0;
};

/// Copies a text into a buffer, cut where the buffer ends, NUL-terminated.
void CopyText(std::string_view from, std::span<char> to);

/// Takes the beginning of a UTF-8 character off the end of a text that fills its buffer, and was
/// perhaps cut there. Other text stays as it is.
void DropHalfCharacter(std::span<char> text);

/// The text of a buffer that should hold a NUL but perhaps doesn't: ends at the NUL or the buffer.
[[nodiscard]] std::string_view TextIn(std::span<const char> buffer);

} // namespace keldra
