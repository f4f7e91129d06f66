#!/usr/bin/env python3
"""ardour_window.py MODULE FOLDER PREVIEW: our module in Ardour's windows: two editors at once, compared
with what PREVIEW (keldra_skin_preview) paints; the space bar; an editor opened twenty times; a track
removed while its editor is open; a knob whose turning is written as automation in "Write", "Touch" and
"Latch", saved and heard in a new Ardour. FOLDER is replaced; it keeps the session, WAVs, pictures and logs. Ends with 77 where a
program is missing."""
import pathlib
import re
import shutil
import sys
import time

from ardour_offline import HERE, chunks, environment, put_clip, scan
from listen import Findings
from stage import CUTOFF_KNOB, Host, Stage, cutoff_in, need, painted, run, without_cutoff

EDITOR = "by Tallowen"
OUTPUTS = "ardour:Master/audio_out 1", "ardour:Master/audio_out 2"
CUTOFF_AUTOMATION = 683, 123 # a button in the window with Ardour's own controls
TICKS_A_SECOND = 2 * 1920 # at 120 beats a minute
MODES = "Manual", "Play", "Write", "Touch", "Latch"

CONFIG = """<?xml version="1.0" encoding="UTF-8"?>
<Ardour><Config>
 <Option name="try-autostart-engine" value="1"/> <Option name="check-announcements" value="0"/>
</Config><Extra><AudioMIDISetup><EngineStates>
 <State backend="JACK" driver="" device="" input-device="" output-device="" sample-rate="48000"
  buffer-size="1024" n-periods="0" input-latency="0" output-latency="0" input-channels="0"
  output-channels="0" active="1" use-buffered-io="0" midi-option="" lru="1"><MIDIDevices/></State>
</EngineStates></AudioMIDISetup></Extra></Ardour>
"""


class Ardour(Host):
    def __init__(self, stage, session, name):
        super().__init__(stage)
        self.session = session
        self.rows = [208, 200, 216, 192, 224, 232]
        self.process = stage.start(name, "ardour", "-n", "-a", session)
        self.main = stage.window("song - Ardour")
        stage.wait("Ardour's ports", lambda: OUTPUTS[0] in stage.ports())
        time.sleep(2.0)
        if name == "first": # later it remembers
            self.stage.key(self.main, "alt+m") # from the editor to the mixer
        elif question := stage.windows("Discover VST"): # asked over the strips
            self.stage.key(question[-1], "Escape") # no: the one there is has been scanned

    def windows(self):
        return self.stage.windows(EDITOR)

    def open_editor(self, strip):
        """The instrument is the first of a strip's processors; where exactly, the fonts decide."""
        before = set(self.windows())
        for y in [*self.rows]:
            self.stage.ask("xdotool", "windowactivate", "--sync", self.main)
            self.stage.click(self.main, 319 + 110 * strip, y, times=2)
            for _ in range(20):
                time.sleep(0.1)
                if opened := set(self.windows()) - before:
                    self.rows = [y]
                    window = self.editors[strip] = opened.pop() # which Ardour keeps above its strips
                    self.stage.ask("xdotool", "windowmove", "--sync", window, 730, 30 + 300 * strip)
                    return window
        self.stage.picture("root", "no-editor")
        sys.exit("FAILED  Ardour opens no editor")

    def close_editor(self, strip):
        self.close(self.editors[strip])

    def close(self, window):
        self.stage.key(window, "alt+F4")
        self.stage.wait("closed editor", lambda: window not in self.windows(), 10)

    def set_automation(self, strip, mode):
        """Of the cutoff. Set here, as Ardour turns "Write" off in a session that it loads. After an
        editor has been opened there."""
        before = set(self.windows())
        self.stage.choose(self.main, 319 + 110 * strip, self.rows[0],
                          "Home", "Down", "Down") # "Edit with generic controls..."
        window = self.stage.wait("Ardour's controls", lambda: set(self.windows()) - before, 10).pop()
        time.sleep(1.0)
        self.stage.choose(window, *CUTOFF_AUTOMATION, "Home", *["Down"] * MODES.index(mode), button=1)
        time.sleep(1.0)
        self.close(window)

    def remove(self, strip):
        """By the menu of its name, above the processors."""
        self.stage.choose(self.main, 325 + 110 * strip, 140, "End")
        self.stage.key(self.stage.window("Remove track"), "Tab", "Return")
        self.stage.wait("window gone", lambda: self.editors[strip] not in self.windows(), 10)

    def line(self):
        """@return (seconds, value) of the points of the first line of automation for a cutoff"""
        text = (self.session / "song.ardour").read_text()
        events = re.search(r'automation-id="parameter-18"[^>]*>\s*<events>([^<]*)<', text)
        points = [line.split() for line in events.group(1).splitlines()] if events else []
        return [(int(time[1:]) / TICKS_A_SECOND, float(value)) for time, value in points]

    def save(self):
        file = self.session / "song.ardour"
        self.stage.saved(file, lambda: self.stage.key(self.main, "ctrl+s"))
        return chunks(self.session)

    def rewind(self, by_panel=False):
        """To the start. The keyboard is then Ardour's, or the first panel's."""
        self.stage.key(self.main, "Home")
        if by_panel:
            self.stage.touch_panel(self.editors[0], self.top)

    def play(self, wav, by_panel=False, **what):
        """By the space bar."""
        self.rewind(by_panel)
        recording = self.stage.record(wav, 6, *OUTPUTS, start=self.stage.space, **what)
        self.stage.space()
        return recording


def crossings(values):
    """How often they go through the middle of what is turned here."""
    return sum((a > 0.65) != (b > 0.65) for a, b in zip(values, values[1:]))


def value_at(line, seconds):
    return next((value for time, value in reversed(line) if time <= seconds), 1.0)


def main():
    module, folder, preview = (pathlib.Path(argument).resolve() for argument in sys.argv[1:4])
    need("ardour", "ardour7-lua", "jackd", "jack_rec", "Xvfb", "openbox", "xdotool", "import")
    shutil.rmtree(folder, ignore_errors=True)
    bundle = folder / "Keldra" # without banks, from which a new instance would take its sound
    shutil.copytree(module.parent / "Skin", bundle / "Skin")
    module = pathlib.Path(shutil.copy2(module, bundle))
    env, session, found = environment(module, folder), folder / "song", Findings()
    (folder / "home/.config/ardour7/config").write_text(CONFIG)
    (folder / "home/.config/ardour7/.a7").touch()
    scan(module, env)
    run("ardour7-lua", HERE / "ardour_make.lua", session, "song", 2, env=env)
    put_clip(session, automation='state="Off"/>')
    before = chunks(session)
    panel = painted(preview, module, before[0], folder)

    with Stage(folder, env) as stage:
        ardour = Ardour(stage, session, "first")
        ardour.open_editor(0)
        ardour.close_editor(0)
        ardour.set_automation(0, "Write")
        ardour.show_two(found, [panel, panel])
        ardour.close_editor(1)

        # The clip begins at the start. The knob is turned in the silence between its notes, in the first
        # song that is played: Ardour makes "Touch" of "Write" when it stops.
        ardour.turn(CUTOFF_KNOB, 20, 14)
        ardour.turn(CUTOFF_KNOB, -20, 14)
        time.sleep(1.0)
        found.expect(ardour.process.poll() is None, "a knob is turned while the song stands")
        recording = ardour.play(folder / "first.wav", by_panel=True, after=1.4,
                                do=lambda: ardour.turn(CUTOFF_KNOB, 20, 14))
        found.expect_clip(recording, "after space on the panel", recording.onset())
        found.expect_filter_closes(recording, "by the knob")
        saved = ardour.save()
        cutoffs = sorted(map(cutoff_in, saved))
        found.expect(abs(cutoffs[0] - 0.3) < 0.02 and cutoffs[1] == 1.0,
                     f"one instance has {cutoffs[0]:.3f}, the other is untouched")
        found.expect([*map(without_cutoff, saved)] == [*map(without_cutoff, before)],
                     "nothing else has changed")
        line = [value for _, value in ardour.line()]
        found.expect(len(line) > 10 and line == sorted(line, reverse=True) and
                     line[0] == 1.0 and abs(line[-1] - cutoffs[0]) < 1e-6,
                     f"what was turned is in the session, {len(line)} points, {line[0]} to {line[-1]}")
        recording = ardour.play(folder / "written.wav")
        found.expect_filter_closes(recording, "played again, by what was written")

        ardour.rewind(by_panel=True)
        found.expect_stopped(stage.start_and_stop(folder / "stopped.wav", *OUTPUTS, before_stop=0.6),
                             "space on the panel starts and stops")

        ardour.open_again(found)
        ardour.open_editor(1)
        ardour.lose_the_other(found)

        def play_by_hand(mode, after, pixels):
            """Turns the cutoff while its line plays. @return what is heard"""
            ardour.close_editor(0)
            ardour.set_automation(0, mode)
            ardour.open_editor(0)
            recording = ardour.play(folder / f"{mode}{pixels}.wav", after=after,
                                    do=lambda: ardour.turn(CUTOFF_KNOB, pixels, 14))
            ardour.save()
            return recording

        play_by_hand("Touch", 0.2, 20) # the line falls in the silence after the first note
        line = [value for _, value in ardour.line()]
        found.expect(line[0] > 0.95 and crossings(line) == 3 and line[-1] < 0.35,
                     f'"Touch" writes the knob while it is held, {len(line)} points that cross the '
                     f"middle {crossings(line)} times, and ends as before, at {line[-1]:.2f}")
        play_by_hand("Latch", 0.2, -20)
        late = value_at(ardour.line(), 4.0)
        found.expect(late > 0.95, f'"Latch" writes on when it is let go, up to {late:.2f}')
        recording = play_by_hand("Latch", 1.4, 20)
        late = value_at(ardour.line(), 4.0)
        found.expect(late < 0.35, f"and down to {late:.2f}")
        found.expect_filter_closes(recording, 'turned in "Latch"')
        ardour.close_editor(0)
        ardour.set_automation(0, "Play")
        saved = ardour.save()
        found.expect(ardour.process.poll() is None, "Ardour goes on")

    with Stage(folder, env) as stage:
        ardour = Ardour(stage, session, "second")
        ardour.come_back(found, saved, painted(preview, module, saved[0], folder))
    sys.exit(found.failed)


if __name__ == "__main__":
    main()
