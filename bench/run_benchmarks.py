#!/usr/bin/env python3
"""Runs every benchmark scenario against a running private sandbox and prints
one table: scenario, our median, the baseline's median from the same run,
their ratio, and peak memory where it is asked for. scripts/bench starts the
sandbox, exports its environment and calls this; queues and the extra
emulators made here are removed here again, whatever happens."""

import argparse
import json
import os
import re
import signal
import statistics
import subprocess
import sys
import time

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
FIXTURE_PPD = os.path.join(ROOT, "tests", "fixtures", "ppd", "VKTS32.ppd")
USB_SERIAL = "VKT0000123"
EMULATOR_PROFILE = os.path.join(ROOT, "emulator", "profiles", "VKTS32.profile")
# How late a slow printer sends every reply (scenarios 7 and 8).
SLOW_REPLY_MS = 20
# What the emulator transcript shows for the reply request ESC "E 2" CR.
REPLY_REQUEST = "\\x1bE 2\\x0d"

# The seven card-setup changes of scenario 3, as lpadmin options; the same
# values the PPD-save program sets through SavePPDInformation.
SEVEN_CHANGES = [
    "VKTS32Rotation=1Front", "VKTS32MonoConversion=1HalfTone", "VKTS32PrintingMode=1EncodeOnly",
    "VKTS32DualSidePrinting=0false", "VKTS32RibbonCombination=1FrontYmckoBackYmcko",
    "VKTS32RibbonName=1YMCKO200", "VKTS32AutoHalfPanel=1true",
]


class BenchError(Exception):
    pass


def log(text):
    print(text, file=sys.stderr, flush=True)


def run(cmd, env=None, check=True, quiet=True):
    """Runs a command; returns (milliseconds, peak RSS in KiB, exit status, stdout). The
    peak is never below the runner's own size (see bench/PeakMemory.cpp); Runner.peak_mib
    measures the program alone."""
    start = time.perf_counter()
    proc = subprocess.Popen(cmd, env=env, stdout=subprocess.PIPE,
                            stderr=subprocess.DEVNULL if quiet else None)
    out = proc.stdout.read()
    _, status, usage = os.wait4(proc.pid, 0)
    elapsed = (time.perf_counter() - start) * 1000.0
    proc.returncode = os.waitstatus_to_exitcode(status)
    proc.stdout.close()
    text = out.decode(errors="replace")
    if check and proc.returncode != 0:
        raise BenchError("%s exited with %d: %s" % (" ".join(cmd), proc.returncode, text[-400:]))
    return elapsed, usage.ru_maxrss, proc.returncode, text


def json_line(text):
    """The last line of a benchmark program's output: its samples as JSON."""
    for line in reversed(text.strip().splitlines()):
        if line.startswith("{"):
            return json.loads(line)
    raise BenchError("no result line in: " + text[-300:])


def lpadmin(*args):
    run(["lpadmin"] + list(args))


class Runner:
    def __init__(self, args):
        self.args = args
        self.quick = args.quick
        self.reps = 1 if args.quick else args.repetitions
        self.build = args.build
        self.base = args.base
        self.rows = []
        self.queues = []        # queues made here, removed in cleanup()
        self.emulators = {}     # emulators started here (name: process), stopped in cleanup()
        self.card_uri = self.socket_uri(os.environ["VKT_EMU_PORT_Card"])

    def prog(self, *parts):
        path = os.path.join(self.build, *parts)
        if not os.path.exists(path):
            raise BenchError("missing program " + path)
        return path

    def add_row(self, scenario, ours, baseline, unit="ms", peak=None, trips=None, note=""):
        """`trips`: the printer round trips (request/reply exchanges) of ours and of the baseline."""
        ratio = ours / baseline if baseline else None
        self.rows.append({"scenario": scenario, "ours_median": round(ours, 4),
                          "baseline_median": None if baseline is None else round(baseline, 4),
                          "unit": unit, "ratio": None if ratio is None else round(ratio, 3),
                          "peak_memory_mib": None if peak is None else round(peak, 1),
                          "round_trips": None if trips is None else {"ours": trips[0], "baseline": trips[1]},
                          "note": note})
        log("  %-44s ours %10.3f %s  baseline %s" % (
            scenario, ours, unit, "-" if baseline is None else "%.3f %s" % (baseline, unit)))

    def add_queue(self, name, uri, ppd=FIXTURE_PPD):
        self.queues.append(name)
        lpadmin("-p", name, "-E", "-v", uri, "-P", ppd)

    def remove_queues(self, names):
        for name in names:
            run(["lpadmin", "-x", name], check=False)
            if name in self.queues:
                self.queues.remove(name)

    def cleanup(self):
        self.remove_queues(list(self.queues))
        self.stop_emulators(list(self.emulators))

    def emulator_file(self, name, kind):
        """BASE/bench-emu-NAME.KIND: the pid, port, log and transcript files of an emulator started here."""
        return os.path.join(self.base, "bench-emu-%s.%s" % (name, kind))

    def start_emulators(self, names, delay_ms=None, transcript=False):
        """Starts one emulated VKTS32 per name, each on a free port of its own, all
        at once; returns {name: port}. Every reply comes `delay_ms` late when given.
        Each logs to emulator_file(name, "log"), and with `transcript` keeps one in
        emulator_file(name, "transcript") (not for data: it holds every byte escaped)."""
        for name in names:
            cmd = [self.prog("emulator", "vkt-emulator"), "--port", "0", "--profile", EMULATOR_PROFILE,
                   "--port-file", self.emulator_file(name, "port")]
            if delay_ms is not None:
                cmd += ["--delay-ms", str(delay_ms)]
            if transcript:
                cmd += ["--transcript", self.emulator_file(name, "transcript")]
            with open(self.emulator_file(name, "log"), "wb") as emu_log:
                self.emulators[name] = subprocess.Popen(cmd, stdout=subprocess.DEVNULL, stderr=emu_log)
            # scripts/bench stops it from this file should this runner die without its cleanup.
            with open(self.emulator_file(name, "pid"), "w") as f:
                f.write("%d\n" % self.emulators[name].pid)
        ports = {}
        deadline = time.time() + 10
        for name in names:
            port_file = self.emulator_file(name, "port")
            while not (os.path.exists(port_file) and open(port_file).read().strip()):
                if time.time() > deadline or self.emulators[name].poll() is not None:
                    raise BenchError("the emulator %s did not start" % name)
                time.sleep(0.02)
            ports[name] = int(open(port_file).read())
        return ports

    def stop_emulators(self, names):
        for name in names:
            proc = self.emulators.pop(name)
            proc.terminate()
            try:
                proc.wait(10)
            except subprocess.TimeoutExpired:
                proc.kill()
                proc.wait()
            for kind in ("pid", "port", "transcript"):
                if os.path.exists(self.emulator_file(name, kind)):
                    os.unlink(self.emulator_file(name, kind))

    @staticmethod
    def socket_uri(port):
        return "vkt3socket://127.0.0.1:%s/?snmp=false" % port

    # ------------------------------------------- the window, the CLI, the client
    def tool_env(self):
        """The tool's environment: offscreen Qt, a home and a runtime folder of its own."""
        home = os.path.join(self.base, "bench-home")
        runtime = os.path.join(self.base, "bench-run")
        os.makedirs(home, exist_ok=True)
        os.makedirs(runtime, mode=0o700, exist_ok=True)
        return dict(os.environ, QT_QPA_PLATFORM="offscreen", HOME=home, XDG_RUNTIME_DIR=runtime)

    def window_cmd(self, queue):
        return [self.prog("app", "vkts3-properties"), "--queue", queue,
                "--screenshot", os.path.join(self.base, "bench-shot.bmp")]

    def window(self, queue, env):
        """Milliseconds from launch until the window on `queue` is ready (its picture saved)."""
        start = time.perf_counter()
        proc = subprocess.Popen(self.window_cmd(queue), env=env, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
        ready = None
        for line in proc.stdout:
            if line.startswith(b"screenshot saved"):
                ready = (time.perf_counter() - start) * 1000.0
        proc.stdout.close()
        if proc.wait() != 0 or ready is None:
            raise BenchError("the tool did not reach its main window on %s (exit %d)" % (queue, proc.returncode))
        return ready

    def cli_cmd(self, queues):
        return [self.prog("cli", "vkts3-cli"), "info"] + queues

    def cli_info(self, queues, env):
        """Milliseconds of one `vkts3-cli info QUEUE...`; every queue must be online."""
        ms, _, _, out = run(self.cli_cmd(queues), env=env)
        for queue in queues:
            if "%s: online" % queue not in out:
                raise BenchError("vkts3-cli info did not find %s online: %s" % (queue, out[-300:]))
        return ms

    def peak_mib(self, cmd, env=None):
        """The peak resident memory in MiB of one run of cmd, measured by vkt-bench-peak.
        The tool's window quits once its picture is saved: its peak is that at ready."""
        result = os.path.join(self.base, "bench-peak")
        run([self.prog("bench", "vkt-bench-peak"), result] + cmd, env=env)
        with open(result) as f:
            return int(f.read()) / 1024.0

    @staticmethod
    def all_at_once(cmds):
        """Milliseconds from starting every command at once until the last one has ended; each must succeed."""
        start = time.perf_counter()
        procs = [subprocess.Popen(cmd, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL) for cmd in cmds]
        failed = [proc.args[1] for proc in procs if proc.wait() != 0]
        elapsed = (time.perf_counter() - start) * 1000.0
        if failed:
            raise BenchError("failed: %s" % " ".join(failed))
        return elapsed

    # --------------------------------------------------- emulator transcripts
    @staticmethod
    def recorded(transcript, action):
        """Runs action(); returns its result and what was sent to the emulator meanwhile (connections_since)."""
        mark = os.path.getsize(transcript) if os.path.exists(transcript) else 0
        result = action()
        return result, Runner.connections_since(transcript, mark)

    @staticmethod
    def connections_since(transcript, offset):
        """The bytes sent to the emulator after `offset` in its transcript, in the
        transcript's escape form: one list of exchanges per connection, in the order
        the connections were opened. An exchange is everything up to and including
        a reply request; bytes after the last one form a last exchange of their own."""
        with open(transcript, "rb") as f:
            f.seek(offset)
            text = f.read().decode(errors="replace")
        streams = {}   # dicts keep their order: that of the "open" lines
        for line in text.splitlines():
            m = re.match(r"c(\d+) (open|>)(?: (.*))?$", line)
            if m:
                streams[m.group(1)] = streams.get(m.group(1), "") + (m.group(3) or "")
        connections = []
        for stream in streams.values():
            parts = stream.split(REPLY_REQUEST)
            connections.append([part + REPLY_REQUEST for part in parts[:-1]] + ([parts[-1]] if parts[-1] else []))
        return connections

    @staticmethod
    def round_trips(connections):
        return sum(exchange.endswith(REPLY_REQUEST) for exchanges in connections for exchange in exchanges)

    @staticmethod
    def immediate_repeats(connections):
        """The exchanges that repeat the one just before them on the same connection, readable."""
        repeats = {e for exchanges in connections for i, e in enumerate(exchanges) if i and e == exchanges[i - 1]}
        return sorted(e.replace(REPLY_REQUEST, "").replace("\\x00", "").replace("\\x1b", "ESC ")
                      .replace("\\x0d", "") for e in repeats)

    def floor_client(self, queue, transcript, sent, read_ppd=True):
        """The bare client for what the tool sent the printer of `queue` (connections_since):
        the same exchanges in the same order, each asked once (the tool's immediate
        repeats are left out), and without --no-ppd one read of the PPD. Run once here
        to check the emulator saw exactly that; returns its command and its exchanges."""
        needed = [[e for i, e in enumerate(exchanges) if not i or e != exchanges[i - 1]] for exchanges in sent]
        client = [self.prog("bench", "vkt-bench-startup-client"), queue] + ([] if read_ppd else ["--no-ppd"])
        for i, exchanges in enumerate(needed):
            client += (["--connect"] if i else []) + exchanges
        if self.recorded(transcript, lambda: run(client))[1] != needed:
            raise BenchError("the bare client did not make the exchanges it was given (queue %s)" % queue)
        return client, needed

    # ------------------------------------------------------------- scenario 1
    def startup(self):
        log("1. start-up to ready (queue Card)")
        env = self.tool_env()
        transcript = os.environ["VKT_EMU_TRANSCRIPT_Card"]
        # One run first: warm caches, and record what the tool asks the printer.
        _, sent = self.recorded(transcript, lambda: self.window("Card", env))
        client, needed = self.floor_client("Card", transcript, sent)
        note = "offscreen, until the filled window is saved (exit not counted)"
        repeated = self.immediate_repeats(sent)
        if repeated:
            note += "; the tool repeats %s" % ", ".join(repeated)

        ours, base = [], []
        for _ in range(self.reps):
            ours.append(self.window("Card", env))
            base.append(run(client)[0])
        # How much of it is just starting Qt: the tool with --help leaves right after QApplication.
        qt = [run([self.prog("app", "vkts3-properties"), "--help"], env=env)[0] for _ in range(max(self.reps, 3))]
        note += "; tool --help (Qt start, no window) %.0f ms" % statistics.median(qt)
        self.add_row("1 start-up to ready", statistics.median(ours), statistics.median(base),
                     peak=self.peak_mib(self.window_cmd("Card"), env),
                     trips=(self.round_trips(sent), self.round_trips(needed)), note=note)

    # ------------------------------------------------------------- scenario 2
    def listing(self):
        sizes = [10] if self.quick else [10, 100, 500]
        log("2. listing queues %s" % sizes)
        env = dict(os.environ, QT_QPA_PLATFORM="offscreen")
        made = []
        try:
            for size in sizes:
                while len(made) < size:
                    name = "BenchQ%03d" % len(made)
                    self.add_queue(name, self.card_uri)
                    made.append(name)
                _, _, _, out = run([self.prog("bench", "vkt-bench-list"), str(2 * max(self.reps, 3))], env=env)
                result = json_line(out)
                listed = int(result["listed"])
                if listed < size:
                    raise BenchError("the chooser listed %d queues, expected at least %d" % (listed, size))
                base = [run(["lpstat", "-v"])[0] for _ in range(2 * max(self.reps, 3))]
                self.add_row("2 listing %d card queues" % size, result["median_ms"], statistics.median(base),
                             note="chooser lists %d (in-process) vs lpstat -v (whole process)" % listed)
        finally:
            self.remove_queues(made)

    # ------------------------------------------------------------- scenario 3
    def ppd_save(self):
        log("3. applying seven driver defaults")
        queue = "BenchPpd"
        self.add_queue(queue, self.card_uri)
        ppd = os.path.join(os.environ["CUPS_SERVERROOT"], "ppd", queue + ".ppd")
        try:
            ours, base = [], []
            for _ in range(self.reps):
                lpadmin("-p", queue, "-P", FIXTURE_PPD)
                _, _, _, out = run([self.prog("bench", "vkt-bench-ppd-save"), queue])
                ours.append(json_line(out)["median_ms"])
                lpadmin("-p", queue, "-P", FIXTURE_PPD)
                total = 0.0
                for change in SEVEN_CHANGES:
                    total += run(["lpadmin", "-p", queue, "-o", change])[0]
                base.append(total)
                with open(ppd, errors="replace") as f:
                    text = f.read()
                for change in SEVEN_CHANGES:
                    option, choice = change.split("=")
                    if "*Default%s: %s" % (option, choice) not in text:
                        raise BenchError("lpadmin did not set %s" % change)
            lpadmin("-p", queue, "-P", FIXTURE_PPD)
            # For comparison: the seven changes in one lpadmin call.
            single = []
            for _ in range(self.reps):
                single.append(run(["lpadmin", "-p", queue] + [a for c in SEVEN_CHANGES for a in ("-o", c)])[0])
                lpadmin("-p", queue, "-P", FIXTURE_PPD)
            self.add_row("3 seven PPD defaults", statistics.median(ours), statistics.median(base),
                         note="SavePPDInformation via the service (in-process) vs 7 x lpadmin -o (whole processes);"
                              " one lpadmin with all seven -o: %.0f ms" % statistics.median(single))
        finally:
            self.remove_queues([queue])

    # ------------------------------------------------------------- scenario 4
    def test_cards(self):
        log("4. test cards")
        path = os.path.join(self.build, "bench", "vkt-bench-testcards")
        if not os.path.exists(path):
            raise BenchError("vkt-bench-testcards was not built (Google Benchmark missing?)")
        env = dict(os.environ, QT_QPA_PLATFORM="offscreen")
        cmd = [path, "--benchmark_format=json"]
        if self.quick:
            cmd += ["--benchmark_min_time=0.01"]
        else:
            cmd += ["--benchmark_repetitions=%d" % self.reps, "--benchmark_report_aggregates_only=true"]
        _, _, _, out = run(cmd, env=env)
        report = json.loads(out)
        names = {0: "standard", 1: "parameter", 2: "encoder"}
        for bench in report["benchmarks"]:
            if bench.get("error_occurred"):
                raise BenchError("test card benchmark failed: %s" % bench.get("error_message"))
            if not self.quick and bench.get("aggregate_name") != "median":
                continue
            kind = int(re.search(r"kind:(\d+)", bench["name"]).group(1))
            self.add_row("4 test card %d (%s)" % (kind, names.get(kind, "?")), bench["real_time"], None,
                         note="front colour + back mono, 2 PDFs, merged; Google Benchmark")

    # ------------------------------------------------------------- scenario 5
    def prn(self):
        mib = 4 if self.quick else 64
        log("5. sending a %d MiB PRN file" % mib)
        data = os.path.join(self.base, "bench.prn")
        with open(data, "wb") as f:
            f.write(b"%")      # not ESC: the printer takes the stream as data from the first byte
            f.write(os.urandom(mib * 1024 * 1024 - 1))
        port = str(self.start_emulators(["prn"])["prn"])
        queue = "BenchPrn"
        try:
            self.add_queue(queue, self.socket_uri(port))
            emu_log_path = self.emulator_file("prn", "log")
            ours, base, ours_written, base_written = [], [], [], []
            for _ in range(self.reps):
                written, delivered = self.deliver([self.prog("bench", "vkt-bench-prn-send"), queue, data],
                                                  emu_log_path)
                ours.append(delivered)
                ours_written.append(written)
                written, delivered = self.deliver([self.prog("bench", "vkt-bench-socket-cat"), "127.0.0.1", port,
                                                   data], emu_log_path)
                base.append(delivered)
                base_written.append(written)
            ours_m, base_m = statistics.median(ours), statistics.median(base)
            self.add_row("5 PRN file %d MiB" % mib, ours_m, base_m,
                         note="until the emulator holds every byte; 4096-byte WriteToPrinter %.0f MiB/s vs "
                              "cat-like 128 KiB writes %.0f MiB/s; last write returned after %.0f vs %.0f ms"
                         % (mib / ours_m * 1000, mib / base_m * 1000, statistics.median(ours_written),
                            statistics.median(base_written)))
        finally:
            self.remove_queues([queue])
            os.unlink(data)
            self.stop_emulators(["prn"])

    @staticmethod
    def deliver(cmd, emu_log_path):
        """Runs a sender; returns (ms until its last write returned, ms until the
        emulator logged the whole file captured), both from the sender's start."""
        size_file = cmd[-1]
        size = os.path.getsize(size_file)
        offset = os.path.getsize(emu_log_path)
        proc = subprocess.Popen(cmd, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
        seen = None
        deadline = time.monotonic() + 120
        while seen is None:
            with open(emu_log_path, errors="replace") as f:
                f.seek(offset)
                found = re.findall(r"captured (\d+) bytes of raw data", f.read())
            if found:
                seen = time.monotonic()
                if int(found[0]) != size:
                    proc.kill()
                    proc.wait()
                    raise BenchError("the emulator captured %s bytes of a %d-byte file" % (found[0], size))
            elif time.monotonic() > deadline:
                proc.kill()
                proc.wait()
                raise BenchError("the emulator never finished receiving the file from " + cmd[0])
            else:
                time.sleep(0.002)
        out = proc.communicate(timeout=120)[0].decode(errors="replace")
        if proc.returncode != 0:
            raise BenchError("%s exited with %d" % (cmd[0], proc.returncode))
        result = json_line(out)
        return result["median_ms"], (seen - result["start_s"]) * 1000.0

    # ------------------------------------------------------------- scenario 6
    def firmware(self):
        log("6. firmware-version round trip")
        reps = str(20 if self.quick else 300)
        fw = self.prog("bench", "vkt-bench-firmware")
        usb = self.prog("usbemu", "vkt-usb-printer")
        ours = json_line(run([fw, "session", "Card", reps])[3])
        base = json_line(run([fw, "tcp", "Card", reps])[3])
        nagle = json_line(run([fw, "tcp-nagle", "Card", str(5 if self.quick else 20)])[3])
        self.add_row("6 firmware round trip TCP", ours["median_ms"] * 1000, base["median_ms"] * 1000, unit="us",
                     note="GetFirmwareVersion vs plain socket with TCP_NODELAY (without it: %.0f us); reply %s"
                     % (nagle["median_ms"] * 1000, ours.get("reply")))
        ours = json_line(run([usb, "--printer", USB_SERIAL, "--", fw, "session", "VKTS32Usb", reps])[3])
        base = json_line(run([usb, "--printer", USB_SERIAL, "--", fw, "usb", USB_SERIAL, reps])[3])
        self.add_row("6 firmware round trip USB", ours["median_ms"] * 1000, base["median_ms"] * 1000, unit="us",
                     note="GetFirmwareVersion vs plain libusb, umockdev; reply %s" % ours.get("reply"))

    # ------------------------------------------------------------- scenario 7
    def slow_printer(self):
        log("7. a slow printer (every reply %d ms late)" % SLOW_REPLY_MS)
        name, queue = "slow", "BenchSlow"
        env = self.tool_env()
        try:
            port = self.start_emulators([name], delay_ms=SLOW_REPLY_MS, transcript=True)[name]
            transcript = self.emulator_file(name, "transcript")
            self.add_queue(queue, self.socket_uri(port))
            cases = [("window to ready", lambda: self.window(queue, env), self.window_cmd(queue), True,
                      " (the window quits once ready)"),
                     ("vkts3-cli info", lambda: self.cli_info([queue], env), self.cli_cmd([queue]), False, "")]
            memory = []
            for what, timed, cmd, read_ppd, peak_note in cases:
                # One run first: warm caches, and record what the tool asks the printer.
                _, sent = self.recorded(transcript, timed)
                client, needed = self.floor_client(queue, transcript, sent, read_ppd)
                ours, base = [], []
                for _ in range(self.reps):
                    ours.append(timed())
                    base.append(run(client)[0])
                trips = (self.round_trips(sent), self.round_trips(needed))
                note = "reply delay alone %d vs %d ms; %d connection(s)" % (
                    trips[0] * SLOW_REPLY_MS, trips[1] * SLOW_REPLY_MS, len(sent))
                repeated = self.immediate_repeats(sent)
                if repeated:
                    note += "; the tool repeats %s" % ", ".join(repeated)
                # The program's own start: --help leaves before any printer or CUPS work.
                start = [run([cmd[0], "--help"], env=env)[0] for _ in range(max(self.reps, 3))]
                note += "; %s --help %.0f ms" % (os.path.basename(cmd[0]), statistics.median(start))
                peak = self.peak_mib(cmd, env)
                self.add_row("7 slow printer: %s" % what, statistics.median(ours), statistics.median(base),
                             peak=peak, trips=trips, note=note)
                memory.append(("7 peak memory: %s" % what, peak, self.peak_mib(client),
                               "peak RSS of the process vs the bare client's" + peak_note))
            for scenario, ours_peak, base_peak, note in memory:
                self.add_row(scenario, ours_peak, base_peak, unit="MiB", note=note)
        finally:
            self.remove_queues([queue])
            if name in self.emulators:
                self.stop_emulators([name])

    # ------------------------------------------------------------- scenario 8
    def many_printers(self):
        sizes = [1, 10] if self.quick else [1, 10, 50]
        log("8. vkts3-cli info on %s slow printers" % sizes)
        names = ["BenchMany%02d" % i for i in range(1, max(sizes) + 1)]
        env = self.tool_env()
        try:
            ports = self.start_emulators(names, delay_ms=SLOW_REPLY_MS, transcript=True)
            for name in names:
                self.add_queue(name, self.socket_uri(ports[name]))
            self.cli_info(names, env)    # warm caches; every printer answers
            # What each printer was asked in that run (the same in every run), and the
            # bare client asking it just that.
            sent = {name: self.connections_since(self.emulator_file(name, "transcript"), 0) for name in names}
            trips = {name: self.round_trips(sent[name]) for name in names}
            clients = {name: self.floor_client(name, self.emulator_file(name, "transcript"), sent[name],
                                               read_ppd=False)[0] for name in names}
            for size in sizes:
                queues = names[:size]
                together, in_turn, slowest, bare = [], [], [], []
                for _ in range(self.reps):
                    together.append(self.cli_info(queues, env))
                    singles = [self.cli_info([queue], env) for queue in queues]
                    in_turn.append(sum(singles))
                    slowest.append(max(singles))
                    bare.append(self.all_at_once([clients[queue] for queue in queues]))
                peak = self.peak_mib(self.cli_cmd(queues), env)
                total = sum(trips[queue] for queue in queues)
                self.add_row("8 info on %d printer%s at once" % (size, "s" if size > 1 else ""),
                             statistics.median(together), statistics.median(in_turn), peak=peak,
                             trips=(total, total),
                             note="one vkts3-cli info with %d queue(s) vs one vkts3-cli info per queue in turn;"
                                  " each printer its own emulator, replies %d ms late" % (size, SLOW_REPLY_MS))
            self.add_row("8 %d at once vs slowest single" % size, statistics.median(together),
                         statistics.median(slowest), peak=peak, trips=(total, max(trips[queue] for queue in queues)),
                         note="the slowest of the %d single runs above; near 1 = the printers are asked in parallel"
                         % size)
            self.add_row("8 %d at once vs %d bare clients" % (size, size), statistics.median(together),
                         statistics.median(bare), peak=peak,
                         trips=(total, sum(self.round_trips(sent[queue]) for queue in queues)),
                         note="%d bare clients (device URI from CUPS, the same exchanges) started together:"
                              " the parallelism this machine and cupsd allow" % size)
        finally:
            self.remove_queues(names)
            self.stop_emulators([name for name in names if name in self.emulators])

    # ------------------------------------------------------------------ table
    def table(self):
        head = ("scenario", "ours", "baseline", "ratio", "peak MiB", "round trips")
        lines = []
        for r in self.rows:
            unit, trips = r["unit"], r["round_trips"]
            lines.append((r["scenario"], "%.3f %s" % (r["ours_median"], unit),
                          "-" if r["baseline_median"] is None else "%.3f %s" % (r["baseline_median"], unit),
                          "-" if r["ratio"] is None else "%.2f" % r["ratio"],
                          "-" if r["peak_memory_mib"] is None else "%.1f" % r["peak_memory_mib"],
                          "-" if trips is None else "%s / %s" % (trips["ours"], trips["baseline"])))
        widths = [max(len(str(x[i])) for x in [head] + lines) for i in range(len(head))]
        fmt = "%-{}s  %{}s  %{}s  %{}s  %{}s  %{}s".format(*widths)
        out = [fmt % head, "  ".join("-" * w for w in widths)] + [fmt % line for line in lines]
        return "\n".join(out)


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--quick", action="store_true")
    parser.add_argument("--repetitions", type=int, default=5)
    parser.add_argument("--build", required=True)
    parser.add_argument("--base", required=True)
    parser.add_argument("--out", required=True)
    parser.add_argument("--only", default="", help="comma-separated scenario numbers")
    args = parser.parse_args()

    # A TERM from scripts/bench's trap still runs the cleanup below.
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(143))
    runner = Runner(args)
    scenarios = [runner.startup, runner.listing, runner.ppd_save, runner.test_cards, runner.prn, runner.firmware,
                 runner.slow_printer, runner.many_printers]
    wanted = {int(x) for x in args.only.split(",") if x} or set(range(1, len(scenarios) + 1))
    started = time.time()
    failed = []
    try:
        for number, scenario in enumerate(scenarios, 1):
            if number not in wanted:
                continue
            try:
                scenario()
            except BenchError as error:
                log("  FAILED: %s" % error)
                failed.append("%d: %s" % (number, error))
    finally:
        runner.cleanup()

    print(runner.table())
    elapsed = time.time() - started
    print("\n%s run, %d repetition(s), %.0f s%s" % ("quick" if args.quick else "full", runner.reps, elapsed,
                                                    "; FAILED: " + "; ".join(failed) if failed else ""))
    os.makedirs(os.path.dirname(args.out), exist_ok=True)
    with open(args.out, "w") as f:
        json.dump({"quick": args.quick, "repetitions": runner.reps, "seconds": round(elapsed, 1),
                   "rows": runner.rows, "failures": failed}, f, indent=2)
        f.write("\n")
    print("results written to %s" % args.out)
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
