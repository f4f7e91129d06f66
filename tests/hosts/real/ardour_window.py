#!/usr/bin/env python3
"""ardour_window.py MODULE FOLDER PREVIEW: our module in Ardour's windows: two editors at once, compared
with what PREVIEW (keldra_skin_preview) paints; the space bar; a knob that writes automation, which is
played by a new Ardour; editors opened twenty times; a track deleted with its editor open. FOLDER is
replaced; it keeps the session, WAVs, pictures and logs. Ends with 77 where a program is missing."""
import pathlib
import re
import shutil
import sys
import time

from ardour_offline import HERE, chunks, environment, put_clip, scan, without_cutoff
from listen import Findings, Recording
from stage import Picture, Stage, need, run

EDITOR = "by Tallowen"
PANEL = 855, 521
CUTOFF_KNOB = 500, 292
ABOVE_THE_KEYBOARD = 390

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

    def quit(self):
        self.key(self.main, "ctrl+q")
        try:
            return self.process.wait(20)
        except Exception:
            self.stage.picture("root", "no-quit")
            return None


def written_line(session):
    """The values of the automation line of our cutoff that has most points."""
    lines = re.findall(r'automation-id="parameter-18"[^>]*>\s*<events>([^<]*)<',
                       (session / "song.ardour").read_text())
    return max(([float(line.split()[1]) for line in text.split("\n") if line.strip()]
                for text in lines), key=len)


def expect_panel(found, stage, window, painted, when):
    shown = stage.picture(window, when)
    likeness = shown.likeness(painted, ABOVE_THE_KEYBOARD)
    found.expect(likeness > 0.999, f"{when}: {100 * likeness:.1f} % of the panel as painted")


def main():
    module, folder, preview = (pathlib.Path(argument).resolve() for argument in sys.argv[1:4])
    need("ardour", "ardour7-lua", "jackd", "jack_rec", "Xvfb", "openbox", "xdotool", "import")
    shutil.rmtree(folder, ignore_errors=True)
    env, session, found = environment(module, folder), folder / "song", Findings()
    (folder / "home/.config/ardour7/config").write_text(CONFIG)
    (folder / "home/.config/ardour7/.a7").touch()
    scan(module, env)
    run("ardour7-lua", HERE / "ardour_make.lua", session, "song", 2, env=env)
    put_clip(session, automation='state="Write"><events>b0 1\n</events></AutomationList>')
    before = chunks(session)
    (folder / "noname.keldra").write_bytes(before[0])
    run(preview, module.parent, folder / "painted.png", folder / "noname.keldra")
    painted = Picture(folder / "painted.png")

    with Stage(folder, env) as stage:
        ardour = Ardour(stage, session, "first")
        editors = [ardour.open_editor(strip) for strip in (0, 1)]
        for number, window in enumerate(editors):
            stage.ask("xdotool", "windowactivate", "--sync", window)
            time.sleep(0.5)
            expect_panel(found, stage, window, painted, f"editor {number + 1} of two")
        ardour.close_editor(editors[1])

        # The clip begins at the start. The knob is turned in the silence between its notes.
        toolbar = stage.size(editors[0])[1] - PANEL[1]
        stage.click(editors[0], 430, toolbar + 20) # the panel's plain upper edge
        recording = ardour.play(folder / "first.wav", editors[0], after=1.4, do=lambda: (
            stage.drag_down(editors[0], CUTOFF_KNOB[0], toolbar + CUTOFF_KNOB[1], steps=14)))
        found.expect_clip(recording, "after space on the panel", recording.onset())
        bright, dull = (recording.brightness(recording.onset() + at) for at in (0.5, 2.7))
        found.expect(dull < 0.5 * bright, f"the filter closes, {bright:.4f} to {dull:.4f}")
        saved = ardour.save()
        written = written_line(session)
        found.expect(len(written) > 3 and abs(min(written) - 0.3) < 0.02,
                     f"{len(written)} points are written, the lowest {min(written):.3f}")
        found.expect(len(saved) == 2 and without_cutoff(saved[0]) == without_cutoff(before[0]),
                     "nothing else has changed")
        found.expect(ardour.quit() == 0, "Ardour ends in peace")

        ardour = Ardour(stage, session, "second")
        editor = ardour.open_editor(0)
        recording = ardour.play(folder / "second.wav", editor)
        found.expect_clip(recording, "reloaded", recording.onset())
        bright, dull = (recording.brightness(recording.onset() + at) for at in (0.5, 2.7))
        found.expect(dull < 0.5 * bright, "reloaded, by what was written: the filter closes, "
                                          f"{bright:.4f} to {dull:.4f}")
        again = ardour.save()
        found.expect([*map(without_cutoff, again)] == [*map(without_cutoff, saved)],
                     "a new Ardour has the states bit by bit, with their names")
        for _ in range(20):
            ardour.close_editor(editor)
            editor = ardour.open_editor(0)
        (folder / "again.keldra").write_bytes(again[0])
        run(preview, module.parent, folder / "again.png", folder / "again.keldra")
        expect_panel(found, stage, editor, Picture(folder / "again.png"), "opened twenty times more")
    sys.exit(found.failed)


if __name__ == "__main__":
    main()
