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
from stage import (CUTOFF_KNOB, RESONANCE_KNOB, Host, Stage, careful_state, cutoff_in, default_state,
                   home, need, packed, painted, run, unpacked, without_cutoff)

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


class Qtractor(Host):
    semitones = 1

    def __init__(self, stage, folder, name):
        super().__init__(stage)
        self.song, self.cutoff = folder / "song.qtr", None
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
        """@return our states. The value that Qtractor holds of the first one's cutoff is in self.cutoff"""
        text = self.stage.saved(self.song, lambda: ( # what session managers send
            self.process.send_signal(signal.SIGUSR1)))
        states = re.findall(r'<config key="chunk">([^<]*)<', text)
        cutoff = re.search(r'<param (?=[^>]*index="18")[^>]*>([^<]*)<', text)
        self.cutoff = cutoff and float(cutoff.group(1))
        return [*map(unpacked, states)]

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
        self.stage.wait("closed editor", lambda: not self.has_editor(track), 10)

    def has_editor(self, track):
        return self.editors[track] in self.stage.windows("^Keldra - ")

    def remove(self, track):
        """By the menu of its name."""
        x, y = NAMES
        self.stage.choose(self.main, x, y + TRACK_HEIGHT * track, "Down", "Down")
        self.stage.key(self.stage.window("^Warning"), "Return")
        self.stage.wait("question gone", lambda: not self.stage.windows("^Warning"), 10)
        if self.has_editor(track): # which Qtractor keeps for "Undo"
            self.turn(RESONANCE_KNOB, -20, 2, track)


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
        found.expect(qtractor.save() == states, "the states come in and are saved as they were")
        qtractor.show_two(found, panels)
        qtractor.open_again(found)

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
                                  do=lambda: qtractor.turn(CUTOFF_KNOB, 20, 14))
        found.expect_clip(recording, "at first", recording.onset(), qtractor.semitones)
        found.expect_filter_closes(recording, "at first")
        saved, cutoff = qtractor.save(), qtractor.cutoff
        # Turned to 0.3; but Qtractor plays what it has while it writes, and that pulls the knob back.
        found.expect(abs(cutoff_in(saved[0]) - cutoff) < 1e-5 and 0.25 < cutoff < 0.7,
                     f"Qtractor's value follows the knob to {cutoff}")
        found.expect([without_cutoff(saved[0]), *saved[1:]] == [without_cutoff(states[0]), *states[1:]],
                     "nothing else has changed")

        saved = qtractor.lose_the_other(found)
        if qtractor.has_editor(1):
            qtractor.close_editor(1)
        found.expect(stage.end(qtractor.process) == 0, "Qtractor ends in peace")

        qtractor = Qtractor(stage, folder, "second")
        again, = qtractor.save() # its cutoff follows the line from the start
        qtractor.come_back(found, saved, painted(preview, module, again, folder))
        found.expect(stage.end(qtractor.process) == 0, "and ends in peace")
    sys.exit(found.failed)


if __name__ == "__main__":
    main()
