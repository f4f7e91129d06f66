#!/usr/bin/env python3
"""qtractor.py MODULE FOLDER PREVIEW: our module in Qtractor. A song with a clip and a state that needs
care is played; its panel is looked at and compared with what PREVIEW (keldra_skin_preview) paints, and
opened twenty times; its cutoff is turned while Qtractor writes automation. Then it is saved and played by a new Qtractor.
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
from stage import (CUTOFF_KNOB, Stage, careful_state, cutoff_in, home, need, packed, painted, run,
                   unpacked, without_cutoff)

HERE = pathlib.Path(__file__).resolve().parent
SONG = """<!DOCTYPE qtractor-session>
<session name="song" version="0.9.31">
 <properties>
  <directory>{folder}</directory> <sample-rate>48000</sample-rate> <tempo>120</tempo>
  <ticks-per-beat>960</ticks-per-beat> <beats-per-bar>4</beats-per-bar>
 </properties>
 <tracks><track name="Keldra" type="midi">
  <properties>
   <input-bus>Master</input-bus> <output-bus>Master</output-bus> <midi-channel>0</midi-channel>
  </properties>
  <clips><clip name="clip">
   <properties>
    <name>clip</name> <start>48000</start> <offset>0</offset> <length>192000</length>
   </properties>
   <midi-clip> <filename>clip.mid</filename> <track-channel>0</track-channel> </midi-clip>
  </clip></clips>
  <plugins><plugin type="VST2">
   <filename>{module}</filename> <index>0</index> <label>Keldra</label> <activated>1</activated>
   <configs><config key="chunk">{state}</config></configs>
   <curve-file>
    <curve-items><curve-item mode="Hold" index="18" name="Flt. Cutoff">
     <type>NONREGPARAM</type> <channel>0</channel> <param>0</param> <mode>Hold</mode>
     <process>1</process> <capture>1</capture>
    </curve-item></curve-items>
    <filename>curve.mid</filename> <current>18</current>
   </curve-file>
  </plugin></plugins>
 </track></tracks>
</session>
"""


def write_song(folder, module, state):
    """The clip begins after a second: Qtractor cuts off notes that begin where it starts."""
    (folder / "clip.mid").write_bytes(midi_clip())
    # An automation line: its one point opens the filter.
    track = bytes.fromhex("00b06300 006200 00067f 00267f 00ff2f00")
    (folder / "curve.mid").write_bytes(b"MThd" + struct.pack(">IHHH", 6, 0, 1, 960) +
                                       b"MTrk" + struct.pack(">I", len(track)) + track)
    (folder / "song.qtr").write_text(
        SONG.format(folder=folder, module=module, state=packed(state)))


ROWS = [183, 175, 191, 167, 199, 207, 159, 215]


def open_editor(stage, main):
    """The plug-in's line is in the track's list; where exactly, the fonts decide."""
    for y in [*ROWS]:
        stage.click(main, 183, y, times=2)
        time.sleep(1.0)
        if found := stage.windows("^Keldra - Keldra"):
            ROWS[:] = [y]
            return found[-1]
    stage.picture("root", "no-editor")
    sys.exit("FAILED  Qtractor opens no editor")


class Qtractor:
    def __init__(self, stage, folder, name):
        self.stage, self.song = stage, folder / "song.qtr"
        self.process = stage.start(name, "qtractor", self.song,
                                   LD_PRELOAD=str(folder / "sequencer.so"))
        self.main = stage.window(r"song\.qtr")
        stage.wait("Qtractor's ports", lambda: "Qtractor:Master/out_1" in stage.ports())

    def play(self, wav, **what):
        return self.stage.play(wav, 7, "Qtractor:Master/out_1", "Qtractor:Master/out_2", **what)

    def save(self):
        """@return (state, value that Qtractor holds of our cutoff)"""
        text = self.stage.saved(self.song, lambda: ( # what session managers send
            self.process.send_signal(signal.SIGUSR1)))
        state = re.search(r'<config key="chunk">([^<]*)<', text).group(1)
        cutoff = re.search(r'<param (?=[^>]*index="18")[^>]*>([^<]*)<', text)
        return unpacked(state), cutoff and float(cutoff.group(1))


def main():
    module, folder, preview = (pathlib.Path(argument).resolve() for argument in sys.argv[1:4])
    need("qtractor", "jackd", "jack_rec", "Xvfb", "openbox", "xdotool", "import", "cc")
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    run("cc", "-shared", "-fPIC", HERE / "sequencer.c", "-lasound", "-o", folder / "sequencer.so")
    state = careful_state(module)
    panel = painted(preview, module, state, folder)
    write_song(folder, module, state)
    found = Findings()

    with Stage(folder, home(folder)) as stage:
        qtractor = Qtractor(stage, folder, "first")
        found.expect(qtractor.save()[0] == state, "the state comes in and is saved as it was")
        editor = open_editor(stage, qtractor.main)
        found.expect_panel(stage.picture(editor, "editor"), panel, "the editor")
        for _ in range(20):
            stage.key(editor, "alt+F4")
            stage.wait("closed editor", lambda: not stage.windows("^Keldra - Keldra"), 10)
            editor = open_editor(stage, qtractor.main)
        stage.ask("xdotool", "mousemove", 5, 5)
        time.sleep(0.5)
        found.expect_panel(stage.picture(editor, "opened again"), panel, "opened twenty times more")
        recording = qtractor.play(folder / "first.wav", after=2.7,
                                  do=lambda: stage.drag_down(editor, *CUTOFF_KNOB, steps=14))
        found.expect_clip(recording, "at first", recording.onset(), semitones=1)
        found.expect_filter_closes(recording, "at first")
        saved, cutoff = qtractor.save()
        # Turned to 0.3; but Qtractor plays what it has while it writes, and that pulls the knob back.
        found.expect(abs(cutoff_in(saved) - cutoff) < 1e-5 and 0.25 < cutoff < 0.7,
                     f"Qtractor's value follows the knob to {cutoff}")
        found.expect(without_cutoff(saved) == without_cutoff(state), "nothing else has changed")
        found.expect(stage.end(qtractor.process) == 0, "Qtractor ends in peace")

        qtractor = Qtractor(stage, folder, "second")
        again = qtractor.save()[0] # but the cutoff, which follows its line from the start
        found.expect(without_cutoff(again) == without_cutoff(saved),
                     "a new Qtractor has the state bit by bit")
        recording = qtractor.play(folder / "second.wav")
        found.expect_clip(recording, "reloaded", recording.onset(), semitones=1)
        found.expect_filter_closes(recording, "reloaded, by what was written")
        found.expect(stage.end(qtractor.process) == 0, "and ends in peace")
    sys.exit(found.failed)


if __name__ == "__main__":
    main()
