#!/usr/bin/env python3
"""muse.py MODULE FOLDER PREVIEW: our module in MusE. A song opens two editors, which are compared with
what PREVIEW (keldra_skin_preview) paints; notes are played from the space bar, while a knob is turned
and written as automation; an editor is opened twenty times; a synthesizer is removed under its editor;
the song is saved and loaded by a new MusE.
FOLDER is replaced; it keeps the song, WAVs, pictures and logs. Ends with 77 where a program is
missing."""
import pathlib
import re
import shutil
import sys
import time

from listen import Findings
from stage import (CUTOFF, CUTOFF_KNOB, Host, Stage, careful_state, default_state, home, need, packed,
                   painted, unpacked, without_cutoff)

FIRST_CONTROLLER = 36864 # of a synthesizer's own, as MusE numbers them
SYNTH = """  <SynthI> <name>Keldra-{number}</name> <channels>2</channels>
   <controller id="0" cur="1" color="#ff0000" visible="0"> </controller>
   <automation>{automation}</automation>
   <synthType>VST (synths)</synthType> <class>Keldra</class> <label>Keldra</label>
   <port>{port}</port> <nativeGuiVisible>1</nativeGuiVisible>
   <customData>{state}</customData>
  </SynthI>
"""
OUTPUTS = "MusE:Out 1-0", "MusE:Out 1-1"
WRITE, READ = 3, 1 # a synthesizer's automation
# In the main window: a button of its bar, and in the list of tracks
SHOW_SYNTHS, NAMES, PORTS, FIRST_SYNTH, LINE = (446, 137), 260, 316, 225, 24
SONG = """<?xml version="1.0"?>
<muse version="3.3">
 <song>
  <len>230400</len> <sampleRate>48000</sampleRate> <cpos>0</cpos> <master>1</master>
  <AudioOutput> <name>Out 1</name> <channels>2</channels>
   <controller id="0" cur="1" color="#ff0000" visible="0"> </controller>
  </AudioOutput>
{synths}  <miditrack> <name>Track 1</name> <device>0</device> <channel>0</channel>
   <part> <name>clip</name> <poslen tick="0" len="4608" />
    <event tick="768" len="768" a="69" b="100" />
    <event tick="2304" len="768" a="72" b="100" />
   </part>
  </miditrack>
  <Route channel="0"> <source name="Out 1"/> <dest type="1" name="system:playback_1"/> </Route>
  <Route channel="1"> <source name="Out 1"/> <dest type="1" name="system:playback_2"/> </Route>
  <Route> <source name="Keldra-1"/> <dest name="Out 1"/> </Route>
  <Route> <source name="Keldra-2"/> <dest name="Out 1"/> </Route>
  <tempolist fix="500000">
   <tempo at="21474837"> <tick>0</tick> <val>500000</val> </tempo>
  </tempolist>
  <siglist> <sig at="21474836"> <tick>0</tick> <nom>4</nom> <denom>4</denom> </sig> </siglist>
 </song>
</muse>
"""


class Muse(Host):
    semitones = 1

    def __init__(self, stage, folder, name, synths):
        super().__init__(stage)
        self.song, self.cutoff, self.line = folder / "song.med", None, []
        self.process = stage.start(name, "muse", "-p", "-I", "-2", "-S", self.song)
        for question, answer in (("Instrument initialization", "Return"), ("Did you know", "Escape")):
            stage.key(stage.window(question), answer)
        self.main = stage.window("MusE Project")
        for track in range(synths): # which a song opens
            self.editor(track)
        stage.ask("xdotool", "mousemove", 5, 5)
        time.sleep(6.0) # until MusE's splash screen, which lies above, is gone
        stage.click(self.main, *SHOW_SYNTHS)

    def editor(self, track):
        """Beside the list of tracks."""
        window = self.editors[track] = self.stage.window(f"Keldra-{track + 1}:")
        self.stage.ask("xdotool", "windowmove", "--sync", window, 740, 420 * (1 - track))
        return window

    def has_editor(self, track):
        return self.stage.windows(f"Keldra-{track + 1}:")

    def close_editor(self, track):
        self.stage.key(self.editors[track], "alt+F4")
        self.stage.wait("closed editor", lambda: not self.has_editor(track), 10)

    def open_editor(self, track):
        if not self.has_editor(track):
            self.stage.choose(self.main, PORTS, FIRST_SYNTH + LINE * track, "Up")
        window = self.editor(track)
        self.stage.ask("xdotool", "windowactivate", "--sync", window)
        return window

    def remove(self, track):
        self.stage.choose(self.main, NAMES, FIRST_SYNTH + LINE * track, "Down", "Down")
        self.stage.wait("window gone", lambda: not self.has_editor(track), 10)

    def play(self, wav, **what):
        return self.stage.play(wav, 7, *OUTPUTS, **what)

    def save(self):
        """@return our states. MusE's value of the first one's cutoff, and the line of automation for it,
        are in self.cutoff and self.line"""
        text = self.stage.saved(self.song, lambda: self.stage.key(self.main, "ctrl+s"))
        synths = re.findall("<SynthI>.*?</SynthI>", text, re.DOTALL)
        value, points = re.search(rf'<controller id="{FIRST_CONTROLLER + CUTOFF}" cur="([^"]*)"[^>]*>'
                                  "([^<]*)<", synths[0]).groups()
        self.cutoff = float(value)
        self.line = [float(point.split()[1]) for point in points.split(",") if point.strip()]
        return [unpacked(re.search(r"<customData>([^<]*)<", synth).group(1)) for synth in synths]


def main():
    module, folder, preview = (pathlib.Path(argument).resolve() for argument in sys.argv[1:4])
    need("muse", "jackd", "jack_rec", "Xvfb", "openbox", "xdotool", "import")
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    env = home(folder)
    shutil.copytree(module.parent, folder / "home/.lxvst") # the one place that it always looks at
    states = careful_state(module), default_state(module)
    panels = [painted(preview, module, state, folder) for state in states]
    (folder / "song.med").write_text(SONG.format(synths="".join(
        SYNTH.format(number=port + 1, port=port, automation=automation, state=packed(state))
        for port, (state, automation) in enumerate(zip(states, (WRITE, READ))))))
    found = Findings()

    with Stage(folder, env) as stage:
        muse = Muse(stage, folder, "first", len(states))
        muse.show_two(found, panels)
        stage.touch_panel(muse.editors[0])
        found.expect_stopped(
            stage.start_and_stop(folder / "stopped.wav", *OUTPUTS, before_stop=1.6),
            "space on the panel starts and stops")
        recording = muse.play(
            folder / "first.wav", start=stage.space, after=2.7,
            do=lambda: muse.turn(CUTOFF_KNOB, 20, 14))
        found.expect_clip(recording, "after space on the panel", recording.onset(), muse.semitones)
        found.expect_filter_closes(recording, "by the knob")
        saved, cutoff, line = muse.save(), muse.cutoff, muse.line
        found.expect(abs(cutoff - 0.3) < 0.02, f"MusE's value follows the knob to {cutoff}")
        found.expect(len(line) > 10 and line == sorted(line, reverse=True) and line[0] == 1.0 and
                     line[-1] == cutoff,
                     f"what was turned is in the song, {len(line)} points, {line[0]} to {line[-1]}")
        found.expect([*map(without_cutoff, saved)] == [*map(without_cutoff, states)],
                     "nothing else has changed")

        muse.open_again(found)
        saved = muse.lose_the_other(found)
        found.expect(muse.process.poll() is None, "MusE goes on")

    with Stage(folder, env) as stage: # a new one, as the JACK server would wait for the MusE that is gone
        muse.song.write_text(muse.song.read_text().replace(f"<automation>{WRITE}<",
                                                           f"<automation>{READ}<"))
        muse = Muse(stage, folder, "second", len(saved))
        muse.come_back(found, saved, painted(preview, module, saved[0], folder))
    sys.exit(found.failed)


if __name__ == "__main__":
    main()
