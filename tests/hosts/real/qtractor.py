#!/usr/bin/env python3
"""qtractor.py MODULE FOLDER PREVIEW: our module in Qtractor, on two tracks, one with a clip and a
state that needs care. Both panels are looked at and compared with what PREVIEW (keldra_skin_preview)
paints, and one is opened twenty times; the space bar is pressed; a cutoff is turned while Qtractor
writes automation; a track is removed under its editor. Then the song is saved and played by a new
Qtractor.
FOLDER is replaced; it keeps the song, WAVs, pictures and logs. Ends with 77 where a program is
missing."""
import pathlib
import re
import shutil
import signal
import struct
import sys
import time

from listen import Findings, midi_clip
from stage import (CUTOFF_KNOB, RESONANCE, RESONANCE_KNOB, Stage, careful_state, cutoff_in,
                   default_state, home, need, packed, painted, run, unpacked, value_in,
                   without_cutoff)

HERE = pathlib.Path(__file__).resolve().parent
CLIP = """<clips><clip name="clip">
   <properties>
    <name>clip</name> <start>48000</start> <offset>0</offset> <length>192000</length>
   </properties>
   <midi-clip> <filename>clip.mid</filename> <track-channel>0</track-channel> </midi-clip>
  </clip></clips>"""
CURVE = """<curve-file>
    <curve-items><curve-item mode="Hold" index="18" name="Flt. Cutoff">
     <type>NONREGPARAM</type> <channel>0</channel> <param>0</param> <mode>Hold</mode>
     <process>1</process> <capture>1</capture>
    </curve-item></curve-items>
    <filename>curve.mid</filename> <current>18</current>
   </curve-file>"""
TRACK = """<track name="{name}" type="midi">
  <properties>
   <input-bus>Master</input-bus> <output-bus>Master</output-bus> <midi-channel>{channel}</midi-channel>
  </properties>
  {clip}
  <plugins><plugin type="VST2">
   <filename>{module}</filename> <index>0</index> <label>Keldra</label> <activated>1</activated>
   <configs><config key="chunk">{state}</config></configs>
   {curve}
  </plugin></plugins>
 </track>"""
SONG = """<!DOCTYPE qtractor-session>
<session name="song" version="0.9.31">
 <properties>
  <directory>{folder}</directory> <sample-rate>48000</sample-rate> <tempo>120</tempo>
  <ticks-per-beat>960</ticks-per-beat> <beats-per-bar>4</beats-per-bar>
 </properties>
 <tracks>{tracks}</tracks>
</session>
"""
TRACKS = "First", "Second"


def write_song(folder, module, states):
    """A track for each state, the first with a clip. It begins after a second: Qtractor cuts off notes
    that begin where it starts."""
    (folder / "clip.mid").write_bytes(midi_clip())
    # An automation line: its one point opens the filter.
    track = bytes.fromhex("00b06300 006200 00067f 00267f 00ff2f00")
    (folder / "curve.mid").write_bytes(b"MThd" + struct.pack(">IHHH", 6, 0, 1, 960) +
                                       b"MTrk" + struct.pack(">I", len(track)) + track)
    tracks = "".join(
        TRACK.format(name=name, channel=channel, module=module, state=packed(state), clip=clip,
                     curve=curve)
        for channel, (name, state, clip, curve) in enumerate(
            zip(TRACKS, states, (CLIP, ""), (CURVE, ""))))
    (folder / "song.qtr").write_text(SONG.format(folder=folder, tracks=tracks))


OUTPUTS = "Qtractor:Master/out_1", "Qtractor:Master/out_2"
# In the list of tracks: a plug-in's line; where exactly in its track, the fonts decide
ROWS, TRACK_HEIGHT, NAMES, LINES = [183, 175, 191, 167, 199, 207, 159, 215], 96, (60, 134), 183


class Qtractor:
    def __init__(self, stage, folder, name):
        self.stage, self.song, self.editors = stage, folder / "song.qtr", {}
        self.process = stage.start(name, "qtractor", self.song,
                                   LD_PRELOAD=str(folder / "sequencer.so"))
        self.main = stage.window(r"song\.qtr")
        stage.wait("Qtractor's ports", lambda: OUTPUTS[0] in stage.ports())
        stage.ask("xdotool", "windowmove", "--sync", self.main, 0, 30)

    def play(self, wav, **what):
        return self.stage.play(wav, 7, *OUTPUTS, **what)

    def rewind(self):
        self.stage.transport("stop", "locate 0")
        time.sleep(0.5)

    def starts(self, name, press):
        """@return whether a key starts the song"""
        self.rewind()
        recording = self.stage.record(self.song.parent / name, 5, *OUTPUTS, start=press)
        return recording.level(0, 5) > 0.001

    def save(self):
        """@return (our states, one a track, the value that Qtractor holds of the first one's cutoff)"""
        text = self.stage.saved(self.song, lambda: ( # what session managers send
            self.process.send_signal(signal.SIGUSR1)))
        states = re.findall(r'<config key="chunk">([^<]*)<', text)
        cutoff = re.search(r'<param (?=[^>]*index="18")[^>]*>([^<]*)<', text)
        return [*map(unpacked, states)], cutoff and float(cutoff.group(1))

    def open_editor(self, track):
        title = f"^Keldra - {TRACKS[track]}"
        for y in [*ROWS]:
            self.stage.ask("xdotool", "windowactivate", "--sync", self.main)
            self.stage.click(self.main, LINES, y + TRACK_HEIGHT * track, times=2)
            for _ in range(20):
                time.sleep(0.1)
                if found := self.stage.windows(title):
                    ROWS[:] = [y]
                    self.editors[track] = found[-1] # beside the list of tracks
                    self.stage.ask("xdotool", "windowmove", "--sync", found[-1], 740,
                                   20 + 400 * track)
                    return found[-1]
        self.stage.picture("root", "no-editor")
        sys.exit("FAILED  Qtractor opens no editor")

    def close_editor(self, track):
        self.stage.key(self.editors[track], "alt+F4")
        self.stage.wait("closed editor",
                        lambda: self.editors[track] not in self.stage.windows("^Keldra - "), 10)

    def remove_track(self, track):
        """By the menu of its name."""
        x, y = NAMES
        self.stage.choose(self.main, x, y + TRACK_HEIGHT * track, "Down", "Down")
        self.stage.key(self.stage.window("^Warning"), "Return")
        self.stage.wait("question gone", lambda: not self.stage.windows("^Warning"), 10)


def main():
    module, folder, preview = (pathlib.Path(argument).resolve() for argument in sys.argv[1:4])
    need("qtractor", "jackd", "jack_rec", "Xvfb", "openbox", "xdotool", "import", "cc")
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    run("cc", "-shared", "-fPIC", HERE / "sequencer.c", "-lasound", "-o", folder / "sequencer.so")
    states = [careful_state(module), default_state(module)]
    panels = [painted(preview, module, state, folder) for state in states]
    write_song(folder, module, states)
    found = Findings()

    with Stage(folder, home(folder)) as stage:
        qtractor = Qtractor(stage, folder, "first")
        found.expect(qtractor.save()[0] == states, "the states come in and are saved as they were")
        for track, panel in enumerate(panels):
            shown, look = stage.opened(qtractor.open_editor(track), f"editor {track + 1}", panel)
            found.expect_panel(shown, panel, f"editor {track + 1} of two, at look {look}")
        stage.picture("root", "two editors")
        most = 1
        for _ in range(20):
            qtractor.close_editor(0)
            shown, look = stage.opened(qtractor.open_editor(0), "opened again", panels[0])
            most = max(most, look)
        found.expect_panel(shown, panels[0], f"opened twenty times more, at look {most} at the latest")

        editor = qtractor.editors[0]
        by_host = qtractor.starts("frame.wav", lambda: stage.key(editor, "space"))
        by_panel = qtractor.starts("panel.wav", lambda: (stage.touch_panel(editor), stage.space()))
        answer = "starts" if by_host else "does nothing"
        found.expect(by_panel == by_host,
                     f"space {answer} in an editor's window of Qtractor's, on the panel likewise")
        qtractor.rewind()
        stage.ask("xdotool", "windowactivate", "--sync", qtractor.main)
        found.expect_stopped(stage.start_and_stop(folder / "stopped.wav", *OUTPUTS, before_stop=1.6),
                             "space in the main window after a click on the panel")

        recording = qtractor.play(folder / "first.wav", after=2.7,
                                  do=lambda: stage.drag_down(editor, *CUTOFF_KNOB, steps=14))
        found.expect_clip(recording, "at first", recording.onset(), semitones=1)
        found.expect_filter_closes(recording, "at first")
        saved, cutoff = qtractor.save()
        # Turned to 0.3; but Qtractor plays what it has while it writes, and that pulls the knob back.
        found.expect(abs(cutoff_in(saved[0]) - cutoff) < 1e-5 and 0.25 < cutoff < 0.7,
                     f"Qtractor's value follows the knob to {cutoff}")
        found.expect([without_cutoff(saved[0]), *saved[1:]] == [without_cutoff(states[0]), *states[1:]],
                     "nothing else has changed")

        qtractor.remove_track(1) # Qtractor keeps it for "Undo", and its editor open
        orphan = qtractor.editors[1] in stage.windows("^Keldra - ")
        if orphan:
            stage.drag_down(qtractor.editors[1], *RESONANCE_KNOB, 2, pixels=-20)
        stage.picture("root", "removed")
        recording = qtractor.play(folder / "removed.wav")
        found.expect_clip(recording, "other track removed with its editor", recording.onset(),
                          semitones=1)
        stage.drag_down(editor, *RESONANCE_KNOB, 2, pixels=-20)
        saved, _ = qtractor.save()
        resonance = value_in(saved[0], RESONANCE)
        found.expect(len(saved) == 1 and abs(resonance - 0.1) < 0.02,
                     f"and the editor that is left turns knobs, to {resonance:.3f}")
        if orphan:
            qtractor.close_editor(1)
        found.expect(stage.end(qtractor.process) == 0, "Qtractor ends in peace")

        qtractor = Qtractor(stage, folder, "second")
        again, _ = qtractor.save() # but the cutoff, which follows its line from the start
        found.expect(without_cutoff(*again) == without_cutoff(*saved),
                     "a new Qtractor has the state bit by bit")
        panel = painted(preview, module, *again, folder)
        shown, look = stage.opened(qtractor.open_editor(0), "reloaded", panel)
        found.expect_panel(shown, panel, f"its panel, at look {look}")
        recording = qtractor.play(folder / "second.wav")
        found.expect_clip(recording, "reloaded", recording.onset(), semitones=1)
        found.expect_filter_closes(recording, "reloaded, by what was written")
        found.expect(stage.end(qtractor.process) == 0, "and ends in peace")
    sys.exit(found.failed)


if __name__ == "__main__":
    main()
