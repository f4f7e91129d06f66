#!/usr/bin/env python3
"""ardour_window.py MODULE FOLDER PREVIEW: our module in Ardour's windows: two editors at once, compared
with what PREVIEW (keldra_skin_preview) paints; the space bar; a knob that is turned, saved and heard in
a new Ardour; an editor opened ten times. FOLDER is replaced; it keeps the session, WAVs, pictures and
logs. Ends with 77 where a program is missing."""
import pathlib
import shutil
import sys
import time

from ardour_offline import HERE, chunks, environment, put_clip, scan
from listen import Findings, Recording
from stage import CUTOFF_KNOB, Stage, cutoff_in, need, painted, run, without_cutoff

EDITOR = "by Tallowen"

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
        self.process = stage.start(name, "ardour", "-n", "-a", session)
        self.main = stage.window("song - Ardour")
        stage.wait("Ardour's ports", lambda: "ardour:Master/audio_out 1" in stage.ports())
        time.sleep(2.0)
        if name == "first": # later it remembers
            self.key(self.main, "alt+m") # from the editor to the mixer

    def key(self, window, *keys):
        self.stage.ask("xdotool", "windowactivate", "--sync", window)
        self.stage.ask("xdotool", "key", "--delay", 100, *keys)

    def editors(self):
        return self.stage.windows(EDITOR)

    def open_editor(self, strip):
        """The instrument is the first of a strip's processors; where exactly, the fonts decide."""
        before = set(self.editors())
        for y in (208, 200, 216, 192, 224, 232):
            self.stage.ask("xdotool", "windowactivate", "--sync", self.main)
            self.stage.click(self.main, 319 + 110 * strip, y, times=2)
            for _ in range(20):
                time.sleep(0.1)
                if opened := set(self.editors()) - before:
                    window = opened.pop() # which Ardour keeps above its strips
                    self.stage.ask("xdotool", "windowmove", "--sync", window, 730, 30 + 300 * strip,
                                   "mousemove", 5, 5) # away, or a hint is shown over it
                    time.sleep(0.5)
                    return window
        self.stage.picture("root", "no-editor")
        sys.exit("FAILED  Ardour opens no editor")

    def close_editor(self, window):
        self.key(window, "alt+F4")
        self.stage.wait("closed editor", lambda: window not in self.editors(), 10)

    def save(self):
        file = self.session / "song.ardour"
        before = file.stat().st_mtime_ns
        self.key(self.main, "ctrl+s")
        self.stage.wait("saved session", lambda: file.stat().st_mtime_ns != before)
        time.sleep(0.5)
        return chunks(self.session)

    def play(self, wav, window, **what):
        """From the start, by Home and the space bar in this window."""
        self.key(self.main, "Home")
        self.stage.record(wav, 6, "ardour:Master/audio_out 1", "ardour:Master/audio_out 2",
                          start=lambda: self.key(window, "space"), **what)
        self.key(window, "space")
        return Recording(wav)


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
        for _ in range(20):
            ardour.close_editor(editors[0])
            editors[0] = ardour.open_editor(0)
        again = next(state for state in saved if cutoff_in(state) < 1)
        found.expect_panel(stage.picture(editors[0], "opened again"),
                           painted(preview, module, again, folder), "opened twenty times more")

    with Stage(folder, env) as stage:
        ardour = Ardour(stage, session, "second")
        recording = ardour.play(folder / "second.wav", ardour.main)
        found.expect_clip(recording, "reloaded", recording.onset())
        stage.wait("saved states", lambda: ardour.save() == saved, 5)
        found.expect(True, "a new Ardour has the states bit by bit")
    sys.exit(found.failed)


if __name__ == "__main__":
    main()
