#!/usr/bin/env python3
"""qtractor.py MODULE FOLDER PREVIEW: our module in Qtractor. A song with a clip and a state that needs
care is played; its panel is looked at and compared with what PREVIEW (keldra_skin_preview) paints, and
its cutoff is turned while Qtractor writes automation. Then it is saved and played by a new Qtractor.
FOLDER is replaced; it keeps the song, WAVs, pictures and logs. Ends with 77 where a program is
missing."""
import base64
import pathlib
import re
import shutil
import signal
import struct
import sys
import time
import zlib

from listen import Findings, Recording, midi_clip
from stage import Picture, Stage, default_state, home, need, run

HERE = pathlib.Path(__file__).resolve().parent
CUTOFF = 18
# What is lost most easily when a song comes back: the least value of a semitone (plus one), values
# beyond 0 .. 1, a controller that is number 0.
CARE = {17: 25 / 48, 75: 1.0, 76: 9.0, 78: 5.0, 81 + CUTOFF: 74.0, 82 + CUTOFF: 0.0}
PANEL = 855, 521
CUTOFF_KNOB = 500, 292
ABOVE_THE_KEYBOARD = 390

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
     <process>1</process> <capture>{capture}</capture>
    </curve-item></curve-items>
    <filename>curve.mid</filename> <current>18</current>
   </curve-file>
  </plugin></plugins>
 </track></tracks>
</session>
"""


def write_song(folder, module, state):
    """The clip begins after a second: Qtractor cuts off notes that begin where it starts."""
    packed = base64.b64encode(struct.pack(">I", len(state)) + zlib.compress(state)).decode()
    (folder / "clip.mid").write_bytes(midi_clip())
    # An automation line: its one point opens the filter.
    track = bytes.fromhex("00b06300 006200 00067f 00267f 00ff2f00")
    (folder / "curve.mid").write_bytes(b"MThd" + struct.pack(">IHHH", 6, 0, 1, 960) +
                                       b"MTrk" + struct.pack(">I", len(track)) + track)
    (folder / "song.qtr").write_text(
        SONG.format(folder=folder, module=module, state=packed, capture=1))


def state_in(song):
    """@return (state, value that Qtractor holds of our cutoff)"""
    text = song.read_text()
    packed = re.search(r'<config key="chunk">([^<]*)<', text).group(1)
    cutoff = re.search(r'<param (?=[^>]*index="18")[^>]*>([^<]*)<', text)
    return zlib.decompress(base64.b64decode(packed)[4:]), cutoff and float(cutoff.group(1))


def cutoff_in(state):
    return struct.unpack_from("<f", state, 4 + 4 * CUTOFF)[0]


def open_editor(stage, main):
    """The plug-in's line is in the track's list; where exactly, the fonts decide."""
    for y in (183, 175, 191, 167, 199, 207, 159, 215):
        stage.click(main, 183, y, times=2)
        time.sleep(1.0)
        if found := stage.windows("^Keldra - Keldra"):
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
        self.stage.play(wav, 7, "Qtractor:Master/out_1", "Qtractor:Master/out_2", **what)
        return Recording(wav)

    def save(self):
        before = self.song.stat().st_mtime_ns
        self.process.send_signal(signal.SIGUSR1) # what session managers send
        self.stage.wait("saved song", lambda: self.song.stat().st_mtime_ns != before)
        time.sleep(0.5)
        return state_in(self.song)


def expect_panel(found, stage, main, painted, when):
    editor = open_editor(stage, main)
    size = stage.size(editor)
    likeness = stage.picture(editor, when).likeness(painted, ABOVE_THE_KEYBOARD)
    found.expect(size == PANEL and likeness > 0.999,
                 f"{when}: the editor's window is {size}, {100 * likeness:.1f} % of it as painted")
    return editor


def expect_filter_closes(found, recording, when):
    bright, dull = (recording.brightness(recording.onset() + at) for at in (0.5, 2.7))
    found.expect(dull < 0.5 * bright, f"{when}: the filter closes, {bright:.4f} to {dull:.4f}")


def main():
    module, folder, preview = (pathlib.Path(argument).resolve() for argument in sys.argv[1:4])
    need("qtractor", "jackd", "jack_rec", "Xvfb", "openbox", "xdotool", "import", "cc")
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    run("cc", "-shared", "-fPIC", HERE / "sequencer.c", "-lasound", "-o", folder / "sequencer.so")
    state = bytearray(default_state(module))
    for index, value in CARE.items():
        struct.pack_into("<f", state, 4 + 4 * index, value)
    state[628:692] = b"With Care".ljust(64, b"\0")
    (folder / "With Care.keldra").write_bytes(state)
    run(preview, module.parent, folder / "painted.png", folder / "With Care.keldra")
    painted = Picture(folder / "painted.png")
    write_song(folder, module, bytes(state))
    found = Findings()

    with Stage(folder, home(folder)) as stage:
        qtractor = Qtractor(stage, folder, "first")
        found.expect(qtractor.save()[0] == bytes(state), "the state comes in and is saved as it was")
        editor = expect_panel(found, stage, qtractor.main, painted, "at first")
        recording = qtractor.play(folder / "first.wav", after=2.7,
                                  do=lambda: stage.drag(editor, *CUTOFF_KNOB, 280))
        found.expect_clip(recording, "at first", recording.onset(), semitones=1)
        expect_filter_closes(found, recording, "at first")
        saved, cutoff = qtractor.save()
        struct.pack_into("<f", state, 4 + 4 * CUTOFF, heard := cutoff_in(saved))
        found.expect(abs(heard - cutoff) < 1e-5 and 0.2 < cutoff < 0.5,
                     f"Qtractor's value follows the knob to {cutoff}")
        found.expect(saved == bytes(state), "nothing else has changed")
        found.expect(stage.end(qtractor.process) == 0, "Qtractor ends in peace")

        qtractor = Qtractor(stage, folder, "second")
        again = bytearray(qtractor.save()[0])
        struct.pack_into("<f", again, 4 + 4 * CUTOFF, heard) # which follows its line from the start
        found.expect(again == saved, "a new Qtractor has the state bit by bit")
        recording = qtractor.play(folder / "second.wav")
        found.expect_clip(recording, "reloaded", recording.onset(), semitones=1)
        expect_filter_closes(found, recording, "reloaded, by what was written")
        found.expect(stage.end(qtractor.process) == 0, "and ends in peace")
    sys.exit(found.failed)


if __name__ == "__main__":
    main()
