#!/usr/bin/env python3
"""ardour_offline.py MODULE FOLDER: our module in Ardour without a display: a session is made,
exported, saved anew and exported again, and what is heard is measured. FOLDER is replaced; it keeps
session and WAVs. Ends with 77 where Ardour isn't installed."""
import base64
import pathlib
import re
import shutil
import subprocess
import sys
import time

from listen import Findings, Recording, midi_clip
from stage import home, need, run, without_cutoff

HERE = pathlib.Path(__file__).resolve().parent
ARDOUR = {"LD_LIBRARY_PATH": "/usr/lib/ardour7", "ARDOUR_DATA_PATH": "/usr/share/ardour7",
          "ARDOUR_CONFIG_PATH": "/etc/ardour7", "ARDOUR_DLL_PATH": "/usr/lib/ardour7"}


def environment(module, folder):
    """A home of its own, and the module on the search path."""
    env = home(folder, LXVST_PATH=str(module.parent))
    (folder / "home/.config/ardour7").mkdir(parents=True)
    return env


def export(wav, session, env):
    # One export in five or so waits for ever, between the main and the disk thread of Ardour, while
    # no thread is in a plug-in. It then takes a fiftieth of a core, less than on any busy machine.
    for _ in range(8):
        with open(wav.with_suffix(".log"), "w") as log:
            process = subprocess.Popen(["ardour7-export", "-b", "16", "-s", "48000", "-o", wav, session,
                                        session.name], env=env, stdout=log, stderr=log)
        used, since = 0, time.time()
        while process.poll() is None and time.time() < since + 6:
            time.sleep(0.1)
            if (now := processor_ticks(process)) > used + 30: # hundredths of a second
                used, since = now, time.time()
        if process.poll() == 0:
            return
        if process.poll() is not None:
            sys.exit(f"FAILED  Ardour's export ends with {process.poll()}")
        process.kill()
        process.wait()
        print("Ardour hangs: once more", flush=True)
    sys.exit("FAILED  Ardour hangs each time")


def processor_ticks(process):
    fields = pathlib.Path(f"/proc/{process.pid}/stat").read_text().rpartition(")")[2].split()
    return int(fields[11]) + int(fields[12])


def scan(module, env):
    # Ardour keeps whole seconds, and silently leaves out a module that is younger than its scan.
    time.sleep(max(0.0, module.stat().st_mtime + 2 - time.time()))
    run("/usr/lib/ardour7/ardour-vst-scanner", "-f", module, env={**env, **ARDOUR})


# The filter closes during the second note.
CLOSING = 'state="Play"><events>b0 1\nb7680 1\nb11000 0.1\n</events></AutomationList>'


def put_clip(session, automation=CLOSING):
    """Writes a MIDI region, the session's range and an automation line for "Flt. Cutoff" into the
    session file: no script of Ardour's can make them without its windows."""
    name = session.name
    (session / "interchange" / name / "midifiles" / "clip.mid").write_bytes(midi_clip())
    file = session / f"{name}.ardour"
    text = file.read_text()
    region = ('<Region name="clip" muted="0" opaque="1" locked="0" automatic="0" whole-file="{whole}"'
              ' import="0" external="0" hidden="0" position-locked="0" start="b0"'
              ' length="b15360@b0" sync-position="b0" ancestral-start="b0"'
              ' ancestral-length="b15360@b0" stretch="1" shift="1" layering-index="0" id="{id}"'
              ' type="midi" first-edit="nothing" source-0="90001" master-source-0="90001"'
              ' channels="1"/>')
    text = text.replace("<Sources/>", '<Sources><Source name="clip.mid" type="midi" flags="" '
                        'id="90001" origin=""/></Sources>')
    text = text.replace("<Regions/>",
                        f"<Regions>{region.format(whole=1, id=90002)}</Regions>")
    text = text.replace("<Locations/>", '<Locations><Location id="90004" name="session" start="b0" '
                        'end="b15360" flags="IsSessionRange" locked="0"/></Locations>')
    text = re.sub(r'(<Playlist id="\d+" name="Keldra(?: 1)?" type="midi"[^>]*)/>',
                  rf"\1>{region.format(whole=0, id=90003)}</Playlist>", text)
    text = re.sub(r'(<AutomationList automation-id="parameter-18"[^>]*)state="Off"/>',
                  lambda match: match.group(1) + automation, text)
    file.write_text(text)


def chunks(session):
    """Our states as the session holds them, one a track."""
    text = (session / f"{session.name}.ardour").read_text()
    return [base64.b64decode(found) for found in re.findall(r"<chunk[^>]*>([^<]*)<", text)]


def main():
    module = pathlib.Path(sys.argv[1]).resolve()
    folder = pathlib.Path(sys.argv[2]).resolve()
    need("ardour7-lua", "ardour7-export")
    shutil.rmtree(folder, ignore_errors=True)
    env, session, found = environment(module, folder), folder / "song", Findings()
    scan(module, env)
    made = run("ardour7-lua", HERE / "ardour_make.lua", session, "song", env=env)
    found.expect("parameters 156" in made, "Ardour sees 156 parameters")
    found.expect("name Flt. Cutoff" in made and "name Glide Time Static" in made, "and our names")
    found.expect(len(chunks(session)) == 1, "the session holds our state")
    put_clip(session)

    for round_name in ("exported", "exported after a reload"):
        wav = folder / f"{round_name.replace(' ', '-')}.wav"
        export(wav, session, env)
        recording = Recording(wav)
        found.expect_clip(recording, round_name)
        found.expect_filter_closes(recording, f"{round_name}, by automation")
        if round_name == "exported":
            before = without_cutoff(*chunks(session)) # which follows its line
            told = run("ardour7-lua", HERE / "ardour_resave.lua", session, "song", env=env)
            found.expect("Noise Balance 0.6" in told, "a new Ardour finds our values")
            found.expect(without_cutoff(*chunks(session)) == before,
                         "and saves the state that it loaded")
    sys.exit(found.failed)


if __name__ == "__main__":
    main()
