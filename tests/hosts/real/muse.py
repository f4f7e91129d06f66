#!/usr/bin/env python3
"""muse.py MODULE FOLDER PREVIEW: our module in MusE. A song opens the editor, which is compared with
what PREVIEW (keldra_skin_preview) paints; notes are played; the song is saved and loaded by a new MusE.
FOLDER is replaced; it keeps the song, WAVs, pictures and logs. Ends with 77 where a program is
missing."""
import pathlib
import re
import shutil
import sys
import time

from listen import Findings, Recording
from stage import (CUTOFF, CUTOFF_KNOB, Stage, careful_state, cutoff_in, home, need, packed, painted,
                   unpacked, without_cutoff)

SONG = """<?xml version="1.0"?>
<muse version="3.3">
 <song>
  <len>230400</len> <sampleRate>48000</sampleRate> <cpos>0</cpos> <master>1</master>
  <AudioOutput> <name>Out 1</name> <channels>2</channels>
   <controller id="0" cur="1" color="#ff0000" visible="0"> </controller>
  </AudioOutput>
  <SynthI> <name>Keldra-1</name> <channels>2</channels>
   <controller id="0" cur="1" color="#ff0000" visible="0"> </controller>
   <synthType>VST (synths)</synthType> <class>Keldra</class> <label>Keldra</label>
   <port>0</port> <nativeGuiVisible>1</nativeGuiVisible>
   <customData>{state}</customData>
  </SynthI>
  <miditrack> <name>Track 1</name> <device>0</device> <channel>0</channel>
   <part> <name>clip</name> <poslen tick="0" len="4608" />
    <event tick="768" len="768" a="69" b="100" />
    <event tick="2304" len="768" a="72" b="100" />
   </part>
  </miditrack>
  <Route channel="0"> <source name="Out 1"/> <dest type="1" name="system:playback_1"/> </Route>
  <Route channel="1"> <source name="Out 1"/> <dest type="1" name="system:playback_2"/> </Route>
  <Route> <source name="Keldra-1"/> <dest name="Out 1"/> </Route>
  <tempolist fix="500000">
   <tempo at="21474837"> <tick>0</tick> <val>500000</val> </tempo>
  </tempolist>
  <siglist> <sig at="21474836"> <tick>0</tick> <nom>4</nom> <denom>4</denom> </sig> </siglist>
 </song>
</muse>
"""


class Muse:
    def __init__(self, stage, folder, name):
        self.stage, self.song = stage, folder / "song.med"
        self.process = stage.start(name, "muse", "-p", "-I", "-2", "-S", self.song)
        question = stage.window("Instrument initialization")
        stage.ask("xdotool", "windowactivate", "--sync", question, "key", "Return")
        self.main, self.editor = stage.window("MusE Project"), stage.window("Keldra-1")

    def play(self, wav, **what):
        self.stage.transport("stop", "locate 0")
        time.sleep(0.5)
        self.stage.record(wav, 7, "MusE:Out 1-0", "MusE:Out 1-1",
                          start=lambda: self.stage.transport("play"), **what)
        self.stage.transport("stop")
        return Recording(wav)

    def save(self):
        """@return (state, MusE's value of our cutoff) in the song's file"""
        before = self.song.stat().st_mtime_ns
        self.stage.ask("xdotool", "windowactivate", "--sync", self.main, "key", "ctrl+s")
        self.stage.wait("saved song", lambda: self.song.stat().st_mtime_ns != before)
        time.sleep(1.0)
        text = self.song.read_text()
        values = re.findall(r"<param>([^<]*)<", text)
        return (unpacked(re.search(r"<customData>([^<]*)<", text).group(1)), float(values[CUTOFF]))


def main():
    module, folder, preview = (pathlib.Path(argument).resolve() for argument in sys.argv[1:4])
    need("muse", "jackd", "jack_rec", "Xvfb", "openbox", "xdotool", "import")
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    env = home(folder)
    shutil.copytree(module.parent, folder / "home/.lxvst") # the one place that it always looks at
    state = careful_state(module)
    panel = painted(preview, module, state, folder)
    (folder / "song.med").write_text(SONG.format(state=packed(state)))
    found = Findings()

    with Stage(folder, env) as stage:
        muse = Muse(stage, folder, "first")
        stage.ask("xdotool", "windowactivate", "--sync", muse.editor, "mousemove", 5, 5)
        time.sleep(0.5)
        found.expect_panel(stage.picture(muse.editor, "editor"), panel, "the editor")
        recording = muse.play(folder / "first.wav", after=2.7, do=lambda: (
            stage.drag_down(muse.editor, *CUTOFF_KNOB, steps=14)))
        found.expect_clip(recording, "at first", recording.onset(), semitones=1)
        found.expect_filter_closes(recording, "at first, by the knob")
        saved, cutoff = muse.save()
        found.expect(abs(cutoff_in(saved) - cutoff) < 1e-5 and abs(cutoff - 0.3) < 0.02,
                     f"MusE's value follows the knob to {cutoff}")
        found.expect(without_cutoff(saved) == without_cutoff(state), "nothing else has changed")

    with Stage(folder, env) as stage: # a new one, as the JACK server would wait for the MusE that is gone
        muse = Muse(stage, folder, "second")
        recording = muse.play(folder / "second.wav")
        found.expect_clip(recording, "reloaded", recording.onset(), semitones=1)
        found.expect(recording.brightness(recording.onset() + 0.5) < 0.05, "reloaded: dull")
        stage.drag_down(muse.editor, *CUTOFF_KNOB, steps=1) # MusE saves only songs that have changed
        again, cutoff = muse.save()
        found.expect(abs(cutoff - 0.25) < 0.02 and without_cutoff(again) == without_cutoff(saved),
                     "a new MusE has the state bit by bit")
    sys.exit(found.failed)


if __name__ == "__main__":
    main()
