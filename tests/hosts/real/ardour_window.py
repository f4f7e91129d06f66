#!/usr/bin/env python3
"""ardour_window.py MODULE FOLDER PREVIEW: our module in Ardour's windows: two editors at once, compared
with what PREVIEW (keldra_skin_preview) paints; the space bar; a knob whose turning is written as
automation, saved and heard in a new Ardour; an editor opened twenty times; a track removed while its
editor is open. FOLDER is replaced; it keeps the session, WAVs, pictures and logs. Ends with 77 where a
program is missing."""
import pathlib
import re
import shutil
import sys
import time

from ardour_offline import HERE, chunks, environment, put_clip, scan
from listen import Findings
from stage import (CUTOFF_KNOB, RESONANCE, RESONANCE_KNOB, Stage, cutoff_in, need, painted, run, value_in,
                   without_cutoff)

EDITOR = "by Tallowen"
CUTOFF_AUTOMATION = 683, 123 # a button in the window with Ardour's own controls

CONFIG = """<?xml version="1.0" encoding="UTF-8"?>
<Ardour><Config>
 <Option name="try-autostart-engine" value="1"/> <Option name="check-announcements" value="0"/>
</Config><Extra><AudioMIDISetup><EngineStates>
 <State backend="JACK" driver="" device="" input-device="" output-device="" sample-rate="48000"
  buffer-size="1024" n-periods="0" input-latency="0" output-latency="0" input-channels="0"
  output-channels="0" active="1" use-buffered-io="0" midi-option="" lru="1"><MIDIDevices/></State>
</EngineStates></AudioMIDISetup></Extra></Ardour>
"""


class Ardour:
    def __init__(self, stage, session, name):
        self.stage, self.session = stage, session
        self.rows = [208, 200, 216, 192, 224, 232]
        self.process = stage.start(name, "ardour", "-n", "-a", session)
        self.main = stage.window("song - Ardour")
        stage.wait("Ardour's ports", lambda: "ardour:Master/audio_out 1" in stage.ports())
        time.sleep(2.0)
        if name == "first": # later it remembers
            self.stage.key(self.main, "alt+m") # from the editor to the mixer

    def editors(self):
        return self.stage.windows(EDITOR)

    def open_editor(self, strip):
        """The instrument is the first of a strip's processors; where exactly, the fonts decide."""
        before = set(self.editors())
        for y in [*self.rows]:
            self.stage.ask("xdotool", "windowactivate", "--sync", self.main)
            self.stage.click(self.main, 319 + 110 * strip, y, times=2)
            for _ in range(20):
                time.sleep(0.1)
                if opened := set(self.editors()) - before:
                    self.rows = [y]
                    window = opened.pop() # which Ardour keeps above its strips
                    self.stage.ask("xdotool", "windowmove", "--sync", window, 730, 30 + 300 * strip,
                                   "mousemove", 5, 5) # away, or a hint is shown over it
                    time.sleep(0.5)
                    return window
        self.stage.picture("root", "no-editor")
        sys.exit("FAILED  Ardour opens no editor")

    def close_editor(self, window):
        self.stage.key(window, "alt+F4")
        self.stage.wait("closed editor", lambda: window not in self.editors(), 10)

    def choose(self, *keys):
        """From the menu of what is under the pointer."""
        time.sleep(1.0)
        self.stage.ask("xdotool", "key", "--delay", 100, *keys, "Return")

    def write_automation(self, strip):
        """Of the cutoff. Set here, as Ardour turns "Write" off in a session that it loads. After an
        editor has been opened there."""
        self.stage.ask("xdotool", "windowactivate", "--sync", self.main, "mousemove", "--window",
                       self.main, 319 + 110 * strip, self.rows[0], "click", 3)
        self.choose("Home", "Down", "Down") # "Edit with generic controls..."
        window = self.stage.wait("Ardour's controls", self.editors, 10)[-1]
        time.sleep(1.0)
        self.stage.click(window, *CUTOFF_AUTOMATION)
        self.choose("Home", "Down", "Down") # after "Manual" and "Play"
        time.sleep(1.0)
        self.close_editor(window)

    def remove_track(self, strip):
        """By the menu of its name, above the processors."""
        self.stage.ask("xdotool", "windowactivate", "--sync", self.main, "mousemove", "--window",
                       self.main, 325 + 110 * strip, 140, "click", 3)
        self.choose("End")
        self.stage.key(self.stage.window("Remove track"), "Tab", "Return")

    def line(self):
        """@return the cutoff's values on the first line of automation for it in the saved session"""
        text = (self.session / "song.ardour").read_text()
        events = re.search(r'automation-id="parameter-18"[^>]*>\s*<events>([^<]*)<', text)
        return [float(line.split()[1]) for line in events.group(1).splitlines()] if events else []

    def save(self):
        file = self.session / "song.ardour"
        self.stage.saved(file, lambda: self.stage.key(self.main, "ctrl+s"))
        return chunks(self.session)

    def play(self, wav, window, **what):
        """From the start, by Home and the space bar in this window."""
        self.stage.key(self.main, "Home")
        recording = self.stage.record(
            wav, 6, "ardour:Master/audio_out 1", "ardour:Master/audio_out 2",
            start=lambda: self.stage.key(window, "space"), **what)
        self.stage.key(window, "space")
        return recording


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
        ardour.close_editor(ardour.open_editor(0))
        ardour.write_automation(0)
        editors = [ardour.open_editor(strip) for strip in (0, 1)]
        for number, window in enumerate(editors):
            stage.ask("xdotool", "windowactivate", "--sync", window)
            time.sleep(0.5)
            shown = stage.picture(window, f"editor {number + 1}")
            found.expect_panel(shown, panel, f"editor {number + 1} of two")
        ardour.close_editor(editors[1])

        # The clip begins at the start. The knob is turned in the silence between its notes.
        top = shown.top(panel)
        stage.click(editors[0], 430, top + 20) # the panel's plain upper edge
        recording = ardour.play(folder / "first.wav", editors[0], after=1.4, do=lambda: (
            stage.drag_down(editors[0], CUTOFF_KNOB[0], top + CUTOFF_KNOB[1], steps=14)))
        found.expect_clip(recording, "after space on the panel", recording.onset())
        found.expect_filter_closes(recording, "by the knob")
        saved = ardour.save()
        cutoffs = sorted(map(cutoff_in, saved))
        found.expect(abs(cutoffs[0] - 0.3) < 0.02 and cutoffs[1] == 1.0,
                     f"one instance has {cutoffs[0]:.3f}, the other is untouched")
        found.expect([*map(without_cutoff, saved)] == [*map(without_cutoff, before)],
                     "nothing else has changed")
        line = ardour.line()
        found.expect(len(line) > 10 and line == sorted(line, reverse=True) and
                     line[0] == 1.0 and abs(line[-1] - cutoffs[0]) < 1e-6,
                     f"what was turned is in the session, {len(line)} points, {line[0]} to {line[-1]}")
        recording = ardour.play(folder / "written.wav", ardour.main)
        found.expect_filter_closes(recording, "played again, by what was written")

        # The panel names the parameter that was turned last; so it is compared with itself.
        stage.ask("xdotool", "windowactivate", "--sync", editors[0], "mousemove", 5, 5)
        time.sleep(0.5)
        before_closing = stage.picture(editors[0], "before closing")
        for _ in range(20):
            ardour.close_editor(editors[0])
            editors[0] = ardour.open_editor(0)
        likeness = stage.picture(editors[0], "opened again").same(before_closing, 0)
        found.expect(likeness == 1.0,
                     f"opened twenty times more: {100 * likeness:.2f} % as before closing")

        editors[1] = ardour.open_editor(1)
        ardour.remove_track(1)
        stage.wait("window gone", lambda: ardour.editors() == editors[:1], 10)
        recording = ardour.play(folder / "removed.wav", editors[0])
        found.expect_clip(recording, "other track removed with its editor", recording.onset())
        stage.drag_down(editors[0], RESONANCE_KNOB[0], top + RESONANCE_KNOB[1], 2, pixels=-20)
        saved = ardour.save()
        resonance = value_in(saved[0], RESONANCE)
        found.expect(len(saved) == 1 and abs(resonance - 0.1) < 0.02,
                     f"and the editor that is left turns knobs, to {resonance:.3f}")
        found.expect(ardour.process.poll() is None, "Ardour goes on")

    with Stage(folder, env) as stage:
        ardour = Ardour(stage, session, "second")
        recording = ardour.play(folder / "second.wav", ardour.main)
        found.expect_clip(recording, "reloaded", recording.onset())
        found.expect_filter_closes(recording, "reloaded, by what was written")
        again, = ardour.save() # the cutoff follows its line
        found.expect(without_cutoff(again) == without_cutoff(saved[0]),
                     "a new Ardour has the state bit by bit")
    sys.exit(found.failed)


if __name__ == "__main__":
    main()
