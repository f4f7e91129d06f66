#!/usr/bin/env python3
"""muse.py MODULE FOLDER PREVIEW: our module in MusE. A song opens the editor, which is compared with
what PREVIEW (keldra_skin_preview) paints; notes are played from the space bar, while a knob is turned
and written as automation; the song is saved and loaded by a new MusE.
FOLDER is replaced; it keeps the song, WAVs, pictures and logs. Ends with 77 where a program is
missing."""
import pathlib
import re
import shutil
import sys
import time

from listen import Findings
from stage import (CUTOFF, CUTOFF_KNOB, Stage, careful_state, home, need, packed, painted,
                   unpacked, without_cutoff)

FIRST_CONTROLLER = 36864 # of a synthesizer's own, as MusE numbers them
# Automation 3: "Write"; 1: "Read"
SONG = """<?xml version="1.0"?>
<muse version="3.3">
 <song>
  <len>230400</len> <sampleRate>48000</sampleRate> <cpos>0</cpos> <master>1</master>
  <AudioOutput> <name>Out 1</name> <channels>2</channels>
   <controller id="0" cur="1" color="#ff0000" visible="0"> </controller>
  </AudioOutput>
  <SynthI> <name>Keldra-1</name> <channels>2</channels>
   <controller id="0" cur="1" color="#ff0000" visible="0"> </controller>
   <automation>3</automation>
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
        stage.key(question, "Return")
        self.main, self.editor = stage.window("MusE Project"), stage.window("Keldra-1")

    def play(self, wav, **what):
        return self.stage.play(wav, 7, "MusE:Out 1-0", "MusE:Out 1-1", **what)

    def save(self):
        """@return (state, MusE's value of our cutoff, its line of automation) in the song's file"""
        text = self.stage.saved(self.song, lambda: self.stage.key(self.main, "ctrl+s"))
        value, points = re.search(
            rf'<controller id="{FIRST_CONTROLLER + CUTOFF}" cur="([^"]*)"[^>]*>([^<]*)<', text).groups()
        line = [float(point.split()[1]) for point in points.split(",") if point.strip()]
        return unpacked(re.search(r"<customData>([^<]*)<", text).group(1)), float(value), line


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
        time.sleep(6.0) # until MusE's splash screen, which lies above, is gone
        found.expect_panel(stage.picture(muse.editor, "editor"), panel, "the editor")
        stage.click(muse.editor, 430, 20) # the panel's plain upper edge
        recording = muse.play(
            folder / "first.wav", start=lambda: stage.key(muse.editor, "space"), after=2.7,
            do=lambda: stage.drag_down(muse.editor, *CUTOFF_KNOB, steps=14))
        found.expect_clip(recording, "after space on the panel", recording.onset(), semitones=1)
        found.expect_filter_closes(recording, "by the knob")
        saved, cutoff, line = muse.save()
        found.expect(abs(cutoff - 0.3) < 0.02, f"MusE's value follows the knob to {cutoff}")
        found.expect(len(line) > 10 and line == sorted(line, reverse=True) and line[0] == 1.0 and
                     line[-1] == cutoff,
                     f"what was turned is in the song, {len(line)} points, {line[0]} to {line[-1]}")
        found.expect(without_cutoff(saved) == without_cutoff(state), "nothing else has changed")

    with Stage(folder, env) as stage: # a new one, as the JACK server would wait for the MusE that is gone
        muse.song.write_text(muse.song.read_text().replace("<automation>3<", "<automation>1<"))
        muse = Muse(stage, folder, "second")
        recording = muse.play(folder / "second.wav")
        found.expect_clip(recording, "reloaded", recording.onset(), semitones=1)
        found.expect_filter_closes(recording, "reloaded, by what was written")
        stage.drag_down(muse.editor, *CUTOFF_KNOB, steps=1) # MusE saves only songs that have changed
        again, _, _ = muse.save() # the cutoff follows its line
        found.expect(without_cutoff(again) == without_cutoff(saved),
                     "a new MusE has the state bit by bit")
    sys.exit(found.failed)


if __name__ == "__main__":
    main()
