"""Where hosts play: a home of their own, a display, a sound server that waits for everybody, and
hands on mouse and keys. Needs openbox, xdotool, imagemagick, xvfb, jackd2."""
import base64
import ctypes
import fcntl
import os
import pathlib
import re
import shutil
import signal
import struct
import subprocess
import sys
import tempfile
import time
import zlib

from listen import Recording


# What hosts measure and turn on the panel: window pixels.
CUTOFF, RESONANCE = 18, 19
PANEL = 855, 521
CUTOFF_KNOB, RESONANCE_KNOB = (500, 292), (543, 292)
ABOVE_THE_KEYBOARD = 390 # where sounding keys are red in a painted picture


def need(*programs):
    """Ends with 77 unless all are installed."""
    for program in programs:
        if not shutil.which(program):
            print(f"skipped: {program} isn't installed")
            sys.exit(77)


def run(*command, timeout=120, **options):
    """@return what it printed. One that fails ends the test"""
    done = subprocess.run([str(part) for part in command], text=True, timeout=timeout,
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT, **options)
    if done.returncode != 0:
        print(done.stdout)
        sys.exit(f"{command[0]} ended with {done.returncode}")
    return done.stdout


def home(folder, **variables):
    """@return the environment of a fresh user whose home is FOLDER/home, without a display"""
    place = folder / "home"
    for part in (".config", ".local/share", ".cache", "run"):
        (place / part).mkdir(parents=True, exist_ok=True)
    (place / "run").chmod(0o700)
    env = {name: value for name, value in os.environ.items()
           if not name.startswith(("XDG_", "DBUS_", "DISPLAY", "WAYLAND_", "QT_", "GTK_"))}
    return {**env, "HOME": str(place), "XDG_RUNTIME_DIR": str(place / "run"), **variables}


def default_state(module):
    """The state that an instance of the module begins with, asked in Python's own process: of a copy
    without banks, from which it would take the first program."""
    alone = tempfile.TemporaryDirectory()
    module = shutil.copy(module, alone.name)
    callback = ctypes.CFUNCTYPE(ctypes.c_ssize_t, ctypes.c_void_p, ctypes.c_int32, ctypes.c_int32,
                                ctypes.c_ssize_t, ctypes.c_void_p, ctypes.c_float)
    host = callback(lambda effect, opcode, *_: 2400 if opcode == 1 else 0)
    entry = ctypes.CDLL(str(module)).VSTPluginMain
    entry.restype, entry.argtypes = ctypes.c_void_p, [callback]
    effect = entry(host)
    dispatcher = callback(ctypes.cast(effect + 8, ctypes.POINTER(ctypes.c_void_p))[0])
    chunk = ctypes.c_void_p()
    size = dispatcher(effect, 23, 0, 0, ctypes.cast(ctypes.byref(chunk), ctypes.c_void_p), 0.0)
    state = ctypes.string_at(chunk, size)
    dispatcher(effect, 1, 0, 0, None, 0.0)
    return state


def careful_state(module):
    """The default state, but for what is lost most easily when a song comes back: the least value of a
    semitone (plus one), values beyond 0 .. 1, a controller that is number 0, a name."""
    state = bytearray(default_state(module))
    for index, value in {17: 25 / 48, 75: 1.0, 76: 9.0, 78: 5.0, 81 + CUTOFF: 74.0,
                         82 + CUTOFF: 0.0}.items():
        struct.pack_into("<f", state, 4 + 4 * index, value)
    return bytes(state[:628] + b"With Care".ljust(64, b"\0"))


def value_in(state, parameter):
    return struct.unpack_from("<f", state, 4 + 4 * parameter)[0]


def cutoff_in(state):
    return value_in(state, CUTOFF)


def without_cutoff(state):
    return state[:4 + CUTOFF * 4] + state[8 + CUTOFF * 4:]


def packed(state):
    """As hosts that are made with Qt keep it in their files."""
    return base64.b64encode(struct.pack(">I", len(state)) + zlib.compress(state)).decode()


def unpacked(text):
    return zlib.decompress(base64.b64decode(text)[4:])


def painted(preview, module, state, folder):
    """@return the panel as keldra_skin_preview paints it"""
    program = folder / (state[628:].partition(b"\0")[0].decode() + ".keldra") # it is named after its file
    program.write_bytes(state)
    run(preview, module.parent, folder / "painted.png", program)
    return Picture(folder / "painted.png")


class Picture:
    """A picture in a file, for comparing."""
    def __init__(self, path):
        ppm = subprocess.run(["convert", path, "-depth", "8", "ppm:-"], check=True,
                             stdout=subprocess.PIPE).stdout
        size, self.pixels = re.fullmatch(rb"P6\s+(\d+\s+\d+)\s+255\s(.*)", ppm, re.DOTALL).groups()
        self.width, self.height = map(int, size.split())

    def same(self, painted, top, step=3, rows=ABOVE_THE_KEYBOARD):
        """@return how many of `painted`'s uppermost pixels are the same from row `top` on, 0 .. 1"""
        first, end = 3 * self.width * top, 3 * self.width * rows
        return sum(self.pixels[first + i:first + i + 3] == painted.pixels[i:i + 3]
                   for i in range(0, end, step)) / len(range(0, end, step))

    def top(self, painted):
        """@return the row in which the panel begins, below a host's bar"""
        return max(range(self.height - painted.height + 1),
                   key=lambda top: self.same(painted, top, 999))

    def likeness(self, painted):
        """@return how much of the panel above its keyboard is shown as painted, 0 .. 1"""
        if self.width != painted.width or self.height < painted.height:
            return 0.0
        return self.same(painted, self.top(painted))


class Stage:
    """Display, window manager and sound server, for as long as the `with` block runs. What it starts
    ends with it, and with this process."""
    def __init__(self, folder, env):
        self.folder, self.processes = folder, []
        # One name for all: JACK remembers eight servers that didn't end well, and then starts no more.
        self.env = {**env, "JACK_DEFAULT_SERVER": "keldra-stage", "JACK_NO_START_SERVER": "1",
                    "LANG": "C.UTF-8"}

    def __enter__(self):
        self.lock = open(pathlib.Path(tempfile.gettempdir()) / "keldra-stage.lock", "w")
        fcntl.flock(self.lock, fcntl.LOCK_EX)
        number = self.folder / "display"
        with open(number, "w") as file:
            self.start("Xvfb", "Xvfb", "-displayfd", "1", "-nolisten", "tcp", "-screen", "0",
                       "1600x1000x24", stdout=file)
        self.wait("a display", lambda: number.read_text().endswith("\n"))
        self.env["DISPLAY"] = ":" + number.read_text().strip()
        self.start("openbox", "openbox")
        # Synchronous: a client that is late on a busy machine delays the cycle, and loses nothing.
        self.start("jackd", "jackd", "-n", self.env["JACK_DEFAULT_SERVER"], "-r", "-S", "-p", "64",
                   "-t", "5000", "-d", "dummy", "-r", "48000", "-p", "1024")
        self.wait("JACK", lambda: "system:playback_1" in self.ports())
        return self

    def __exit__(self, *_):
        for process in reversed(self.processes):
            self.end(process)
        self.lock.close()

    def start(self, name, *command, stdout=None, **variables):
        log = open(self.folder / f"{name}.log", "a")
        process = subprocess.Popen(
            ["setpriv", "--pdeathsig", "TERM", *map(str, command)], stdout=stdout or log,
            stderr=log, env={**self.env, **variables}, start_new_session=True)
        self.processes.append(process)
        return process

    def end(self, process, patience=20):
        """@return its exit code, or None where it had to be killed"""
        if process.poll() is None:
            process.terminate()
        try:
            return process.wait(patience)
        except subprocess.TimeoutExpired:
            os.killpg(process.pid, signal.SIGKILL)
            process.wait()
            return None

    def wait(self, what, condition, seconds=60.0):
        """@return what the condition answers, as soon as that is something"""
        end = time.time() + seconds
        while not (answer := condition()):
            if time.time() > end:
                self.picture("root", "waiting")
                sys.exit(f"FAILED  no {what} after {seconds:.0f} s")
            time.sleep(0.1)
        return answer

    def ask(self, *command, text=None):
        return subprocess.run(list(map(str, command)), env=self.env, stdout=subprocess.PIPE,
                              stderr=subprocess.DEVNULL, input=text, text=True).stdout

    # --- Sound ---

    def ports(self):
        return self.ask("jack_lsp").splitlines()

    def transport(self, *words):
        self.ask("jack_transport", text="\n".join((*words, "quit")) + "\n")

    def record(self, wav, seconds, *ports, start, after=0.0, do=None):
        """Records what comes out of these ports from before `start` is called on. After that much of
        it `do` is called."""
        recorder = self.start("jack_rec", "jack_rec", "-f", wav, "-d", seconds, "-b", 16, *ports)
        self.wait("recorder", lambda: any("jackrec" in port for port in self.ports()))
        start()
        if do:
            size = 4 * 48000 * after
            self.wait("sound", lambda: wav.exists() and wav.stat().st_size > size)
            do()
        recorder.wait(10 * seconds)
        return Recording(wav)

    def play(self, wav, seconds, *ports, start=None, **what):
        """Records a song from its start, by JACK's transport unless `start` makes it roll."""
        self.transport("stop", "locate 0")
        time.sleep(0.5)
        recording = self.record(wav, seconds, *ports, **what,
                                start=start or (lambda: self.transport("play")))
        self.transport("stop")
        return recording

    def start_and_stop(self, wav, *ports, before_stop):
        """Records a song that the space bar starts and, that many seconds later, stops, wherever the
        keyboard is."""
        def stop():
            time.sleep(before_stop)
            self.space()
        return self.record(wav, 6, *ports, start=self.space, do=stop)

    def saved(self, file, save):
        """Has a host save. @return what it wrote"""
        before = file.stat().st_mtime_ns
        save()
        self.wait("saved song", lambda: file.stat().st_mtime_ns != before)
        time.sleep(1.0)
        return file.read_text()

    # --- Windows ---

    def windows(self, title):
        """Ids of the visible windows whose title holds this regular expression."""
        return self.ask("xdotool", "search", "--onlyvisible", "--name", title).split()

    def window(self, title):
        return self.wait(f'window "{title}"', lambda: self.windows(title))[-1]

    def key(self, window, *keys):
        self.ask("xdotool", "windowactivate", "--sync", window)
        self.ask("xdotool", "key", "--delay", 100, *keys)

    def space(self):
        """Pressed wherever the keyboard is. A window that is activated takes the keyboard from the panel
        in it, and then it is the host that is tested."""
        self.ask("xdotool", "key", "space")

    def touch_panel(self, window, top=0):
        """A click on its plain upper edge, below a host's bar, which gives it the keyboard."""
        self.ask("xdotool", "windowactivate", "--sync", window)
        def clicked(): # once more where the host, being activated, takes the keyboard late
            self.click(window, 430, top + 20)
            time.sleep(0.3)
            return self.ask("xdotool", "getwindowfocus", "-f").strip() in self.windows("^Window$")
        self.wait("keyboard in the panel", clicked)

    def picture(self, window, name):
        """Leaves FOLDER/NAME.png."""
        self.ask("import", "-silent", "-window", window, self.folder / f"{name}.png")
        return Picture(self.folder / f"{name}.png")

    def opened(self, window, name, painted, most=5):
        """Looks at a window that a host has just opened until it shows this panel, so many times at
        most. @return (what it shows, how many looks that took)"""
        self.ask("xdotool", "mousemove", 5, 5) # no hint is shown over it, no control under the pointer
        for look in range(1, most + 1):
            shown = self.picture(window, name)
            if shown.likeness(painted) == 1.0:
                break
        return shown, look

    def choose(self, window, x, y, *keys, button=3):
        """By these keys, from the menu that a button of the mouse opens there."""
        self.ask("xdotool", "windowactivate", "--sync", window, "mousemove", "--window", window, x, y,
                 "click", button)
        time.sleep(1.0)
        self.ask("xdotool", "key", "--delay", 100, *keys, "Return")

    def click(self, window, x, y, times=1):
        self.ask("xdotool", "mousemove", "--window", window, x, y,
                 "click", "--repeat", times, "--delay", 60, 1)

    def drag_down(self, window, x, y, steps, pixels=20):
        """Up, where pixels are below 0. By relative moves: an endless drag puts the pointer back where
        it was after each."""
        self.ask("xdotool", "windowactivate", "--sync", window)
        moves = ("sleep", 0.05, "mousemove_relative", 0, pixels) * steps
        self.ask("xdotool", "mousemove", "--window", window, x, y, "sleep", 0.05,
                 "mousedown", 1, *moves, "sleep", 0.1, "mouseup", 1)


class Host:
    """A host on a stage, and the acts that are the same in each. A host brings start, open_editor(track),
    which answers its window, close_editor(track), remove(track), play(wav, **what), which records a song
    from its start, and save(), which answers our states, one a track."""
    semitones = 0 # that the first track's state is transposed by
    top = 0       # the row of an editor's window in which the panel begins

    def __init__(self, stage):
        self.stage, self.editors = stage, {}

    def turn(self, knob, pixels, steps, track=0):
        """Down, where pixels are above 0."""
        self.stage.drag_down(self.editors[track], knob[0], self.top + knob[1], steps, pixels)

    def show_two(self, found, panels):
        for track, panel in enumerate(panels):
            shown, look = self.stage.opened(self.open_editor(track), f"editor {track + 1}", panel)
            found.expect_panel(shown, panel, f"editor {track + 1} of two, at look {look}")
        self.top = shown.top(panel)
        self.stage.picture("root", "two editors")

    def open_again(self, found):
        """The panel names the parameter that was turned last; so it is compared with itself."""
        self.stage.ask("xdotool", "windowactivate", "--sync", self.editors[0], "mousemove", 5, 5)
        time.sleep(0.5)
        before, most = self.stage.picture(self.editors[0], "before closing"), 1
        for _ in range(20):
            self.close_editor(0)
            shown, look = self.stage.opened(self.open_editor(0), "opened again", before)
            most = max(most, look)
        found.expect_panel(shown, before, f"opened twenty times more, at look {most} at the latest")

    def lose_the_other(self, found):
        """@return what is saved then"""
        self.remove(1)
        self.stage.picture("root", "removed")
        recording = self.play(self.stage.folder / "removed.wav")
        found.expect_clip(recording, "other track removed with its editor", recording.onset(),
                          self.semitones)
        self.turn(RESONANCE_KNOB, -20, 2)
        saved = self.save()
        resonance = value_in(saved[0], RESONANCE)
        found.expect(len(saved) == 1 and abs(resonance - 0.1) < 0.02,
                     f"and the editor that is left turns knobs, to {resonance:.3f}")
        return saved

    def come_back(self, found, saved, panel):
        """In a new process, with what the last one saved."""
        shown, look = self.stage.opened(self.open_editor(0), "reloaded", panel)
        found.expect_panel(shown, panel, f"the panel in a new process, at look {look}")
        self.top = shown.top(panel)
        recording = self.play(self.stage.folder / "second.wav")
        found.expect_clip(recording, "reloaded", recording.onset(), self.semitones)
        found.expect_filter_closes(recording, "reloaded, by what was written")
        self.turn(CUTOFF_KNOB, 20, 1) # some save only songs that have changed
        again = self.save() # the cutoff follows its line
        found.expect([*map(without_cutoff, again)] == [*map(without_cutoff, saved)],
                     "it has the state bit by bit")
