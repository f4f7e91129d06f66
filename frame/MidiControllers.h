#pragma once

namespace keldra {

// Numbers of the MIDI controllers that mean something to the instrument itself.
inline constexpr int kCcModWheel = 1;
inline constexpr int kCcVolume = 7;
inline constexpr int kCcPan = 10;
inline constexpr int kCcBankSelectFine = 32;
inline constexpr int kCcSustain = 64;
inline constexpr int kCcResetAll = 121;
inline constexpr int kCcAllNotesOff = 123;
inline constexpr int kCcPolyModeOn = 127;

} // namespace keldra
