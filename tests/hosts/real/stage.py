"""Where hosts play: a home of their own, a display, a sound server that waits for everybody, and
hands on mouse and keys. Needs openbox, xdotool, imagemagick, xvfb, jackd2."""
import ctypes
import os
import re
import shutil
import signal
import subprocess
import sys
import time


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
    """The state that an instance of the module begins with, asked in Python's own process."""
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


class Picture:
    """A picture in a file, for comparing."""
    def __init__(self, path):
        ppm = subprocess.run(["convert", path, "-depth", "8", "ppm:-"], check=True,
                             stdout=subprocess.PIPE).stdout
        size, self.pixels = re.fullmatch(rb"P6\s+(\d+\s+\d+)\s+255\s(.*)", ppm, re.DOTALL).groups()
        self.width, self.height = map(int, size.split())

    def likeness(self, other, rows):
        """@return how many pixels of the uppermost `rows` are the same, 0 .. 1"""
        if (self.width, self.height) != (other.width, other.height):
            return 0.0
        count = self.width * rows
        return sum(self.pixels[3 * i:3 * i + 3] == other.pixels[3 * i:3 * i + 3]
                   for i in range(count)) / count


class Stage:
    """Display, window manager and sound server, for as long as the `with` block runs. What it starts
    ends with it, and with this process."""
    def __init__(self, folder, env):
        self.folder, self.processes = folder, []
        self.env = {**env, "JACK_DEFAULT_SERVER": f"stage{os.getpid()}",
                    "JACK_NO_START_SERVER": "1", "LANG": "C.UTF-8"}

    def __enter__(self):
        number = self.folder / "display"
        with open(number, "w") as file:
            self.start("Xvfb", "Xvfb", "-displayfd", "1", "-nolisten", "tcp", "-screen", "0",
                       "1600x1000x24", stdout=file)
        self.wait("a display", lambda: number.read_text().endswith("\n"))
        self.env["DISPLAY"] = ":" + number.read_text().strip()
        self.start("openbox", "openbox")
        # Synchronous: a client that is late on a busy machine delays the cycle, and loses nothing.
        self.start("jackd", "jackd", "-n", self.env["JACK_DEFAULT_SERVER"], "-r", "-S", "-p", "64",
                   "-t", "10000", "-d", "dummy", "-r", "48000", "-p", "1024")
        self.wait("JACK", lambda: "system:playback_1" in self.ports())
        return self

    def __exit__(self, *_):
        for process in reversed(self.processes):
            self.end(process)

    def start(self, name, *command, stdout=None, **variables):
        log = open(self.folder / f"{name}.log", "a")
        process = subprocess.Popen(
            ["setpriv", "--pdeathsig", "TERM", *map(str, command)], stdout=stdout or log,
            stderr=log, env={**self.env, **variables}, start_new_session=True)
        self.processes.append(process)
        return process

    def end(self, process, patience=10):
        """@return its exit code, or None where it had to be killed"""
        if process.poll() is None:
            process.terminate()
        try:
            return process.wait(patience)
        except subprocess.TimeoutExpired:
            os.killpg(process.pid, signal.SIGKILL)
            process.wait()
            return None

    def wait(self, what, condition, seconds=30.0):
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
        return self.ask("jack_lsp").split()

    def transport(self, *words):
        self.ask("jack_transport", text="\n".join((*words, "quit")) + "\n")

    def play(self, wav, seconds, *ports, after=0.0, do=None):
        """Plays from the song's start and records what comes out of these ports. After that much of
        it `do` is called."""
        self.transport("stop", "locate 0")
        time.sleep(0.5)
        recorder = self.start("jack_rec", "jack_rec", "-f", wav, "-d", seconds, "-b", 16, *ports)
        self.wait("recorder", lambda: any("jackrec" in port for port in self.ports()))
        self.transport("play")
        if do:
            size = 4 * 48000 * after
            self.wait("sound", lambda: wav.exists() and wav.stat().st_size > size)
            do()
        recorder.wait(10 * seconds)
        self.transport("stop")

    # --- Windows ---

    def windows(self, title):
        """Ids of the visible windows whose title holds this regular expression."""
        return self.ask("xdotool", "search", "--onlyvisible", "--name", title).split()

    def window(self, title):
        return self.wait(f'window "{title}"', lambda: self.windows(title))[-1]

    def size(self, window):
        """@return width, height"""
        told = self.ask("xdotool", "getwindowgeometry", "--shell", window)
        return tuple(int(re.search(rf"^{name}=(\d+)", told, re.MULTILINE).group(1))
                     for name in ("WIDTH", "HEIGHT"))

    def picture(self, window, name):
        """Leaves FOLDER/NAME.png."""
        self.ask("import", "-silent", "-window", window, self.folder / f"{name}.png")
        return Picture(self.folder / f"{name}.png")

    def click(self, window, x, y, times=1):
        self.ask("xdotool", "mousemove", "--window", window, x, y,
                 "click", "--repeat", times, "--delay", 60, 1)

    def drag(self, window, x, y, dy, steps=14):
        moves = [part for step in range(steps + 1) for part in
                 ("mousemove", "--window", window, x, y + dy * step // steps, "sleep", 0.05)]
        self.ask("xdotool", *moves[:5], "mousedown", 1, *moves[5:], "mouseup", 1)
