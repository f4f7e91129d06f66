"""What a recorded WAV holds, measured. Needs nothing but Python."""
import array
import math
import wave


class Recording:
    def __init__(self, path):
        with wave.open(str(path)) as file:
            assert file.getsampwidth() == 2, "16-bit WAV expected"
            self.rate, channels = file.getframerate(), file.getnchannels()
            samples = array.array("h", file.readframes(file.getnframes()))
        self.left = [s / 32768 for s in samples[::channels]]
        self.seconds = len(self.left) / self.rate

    def part(self, start, seconds):
        return self.left[int(start * self.rate):int((start + seconds) * self.rate)]

    def level(self, start, seconds):
        """Root of the mean square; 0: silence."""
        part = self.part(start, seconds)
        return (sum(s * s for s in part) / max(1, len(part))) ** 0.5

    def onset(self):
        """Seconds until something is heard."""
        return next((i for i, s in enumerate(self.left) if abs(s) > 0.001), 0) / self.rate

    def pitch(self, start):
        """Hz of a note between 100 and 1000 Hz that sounds for half a second, maybe in noise: near what
        autocorrelation says of its first tenth, which noise below the note pulls up, the frequency that
        is strongest."""
        near = self.repetition(start)
        part = self.part(start, 0.5)
        bell = [s * (0.5 - 0.5 * math.cos(2 * math.pi * i / len(part))) for i, s in enumerate(part)]
        return max((near * (1 + step / 1000) for step in range(-50, 51)),
                   key=lambda hz: self.strength(bell, hz))

    def strength(self, samples, hz):
        """Of one frequency, by Goertzel's recursion."""
        twice = 2 * math.cos(2 * math.pi * hz / self.rate)
        last = before = 0.0
        for sample in samples:
            last, before = sample + twice * last - before, last
        return last * last + before * before - twice * last * before

    def repetition(self, start):
        part = self.part(start, 0.12)
        window, likeness = len(part) // 2, {}
        for lag in range(int(self.rate / 1000) - 1, int(self.rate / 100) + 2):
            likeness[lag] = sum(part[i] * part[i + lag] for i in range(0, window, 2))
        best = max(likeness.values())
        for lag in sorted(likeness)[1:-1]:
            before, here, after = likeness[lag - 1], likeness[lag], likeness[lag + 1]
            # Not much less than the best: of detuned oscillators later periods may be more alike.
            if here > 0.8 * best and before <= here >= after:
                return self.rate / (lag + 0.5 * (before - after) / (before - 2 * here + after))
        return 0.0

    def brightness(self, start):
        """How much of the sound is in its steps from sample to sample: 0 dull .. 2 noise."""
        part = self.part(start, 0.2)
        steps = sum((b - a) ** 2 for a, b in zip(part, part[1:]))
        return steps / max(1e-12, sum(s * s for s in part))


def midi_clip():
    """A format 0 file, 120 beats a minute: A4 for two beats, two of silence, then C5 for two."""
    def delta(ticks):
        return bytes([0x80 | ticks >> 7, ticks & 0x7F]) if ticks > 127 else bytes([ticks])
    track = b"".join([delta(0), bytes([0x90, 69, 100]), delta(3840), bytes([0x80, 69, 0]),
                      delta(3840), bytes([0x90, 72, 100]), delta(3840), bytes([0x80, 72, 0]),
                      delta(3840), b"\xFF\x2F\x00"])
    return (b"MThd" + (6).to_bytes(4, "big") + b"\0\0\0\1" + (1920).to_bytes(2, "big") +
            b"MTrk" + len(track).to_bytes(4, "big") + track)


class Findings:
    """Prints each expectation; the command ends with how many failed."""
    failed = 0

    def expect(self, holds, what):
        print(("ok      " if holds else "FAILED  ") + what, flush=True)
        self.failed += not holds

    def expect_clip(self, recording, when, start=0.0, semitones=0):
        """That the clip is heard, from `start` seconds on."""
        for at, hz in ((0.4, 440.0), (2.4, 523.25)):
            heard, hz = recording.pitch(start + at), hz * 2 ** (semitones / 12)
            self.expect(abs(heard / hz - 1) < 0.01, f"{when}: {heard:.1f} Hz for {hz:.1f}")
        for at in (1.6, 3.6):
            level = recording.level(start + at, 0.3)
            self.expect(level < 0.001, f"{when}: {level:.5f} between and after the notes")

    def expect_stopped(self, recording, when):
        """That the clip was started, and stopped during its first note."""
        start = recording.onset()
        heard, later = recording.level(start, 0.2), recording.level(start + 1.5, 2.0)
        self.expect(heard > 0.01 and later < 0.001,
                    f"{when}: level {heard:.3f} of the first note, {later:.5f} of what would follow")

    def expect_filter_closes(self, recording, when):
        """That the second note is much duller than the first."""
        start = recording.onset()
        bright, dull = (recording.brightness(start + at) for at in (0.5, 2.7))
        self.expect(dull < 0.5 * bright, f"{when}: the filter closes, {bright:.4f} to {dull:.4f}")

    def expect_panel(self, shown, painted, when):
        """That a window shows the panel, whole and in its place, maybe with a host's bar above."""
        likeness = shown.likeness(painted)
        self.expect(likeness == 1.0, f"{when}: {100 * likeness:.2f} % of the panel as painted, in "
                                      f"{shown.width} x {shown.height}")
