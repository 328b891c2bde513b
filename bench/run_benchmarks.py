#!/usr/bin/env python3
"""Runs every benchmark scenario against a running private sandbox and prints
one table: scenario, our median, the baseline's median from the same run,
their ratio, and peak memory where it is asked for. scripts/bench starts the
sandbox, exports its environment and calls this; queues and the extra
emulator made here are removed here again, whatever happens."""

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
    """Runs a command; returns (milliseconds, peak RSS in KiB, exit status, stdout)."""
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
        self.emulator = None    # the PRN scenario's own emulator
        self.card_uri = "vkt3socket://127.0.0.1:%s/?snmp=false" % os.environ["VKT_EMU_PORT_Card"]

    def prog(self, *parts):
        path = os.path.join(self.build, *parts)
        if not os.path.exists(path):
            raise BenchError("missing program " + path)
        return path

    def add_row(self, scenario, ours, baseline, unit="ms", peak=None, note=""):
        ratio = ours / baseline if baseline else None
        self.rows.append({"scenario": scenario, "ours_median": round(ours, 4),
                          "baseline_median": None if baseline is None else round(baseline, 4),
                          "unit": unit, "ratio": None if ratio is None else round(ratio, 3),
                          "peak_memory_mib": None if peak is None else round(peak, 1), "note": note})
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
        self.stop_emulator()

    def stop_emulator(self):
        if not self.emulator:
            return
        self.emulator.terminate()
        try:
            self.emulator.wait(10)
        except subprocess.TimeoutExpired:
            self.emulator.kill()
            self.emulator.wait()
        self.emulator = None
        pid_file = os.path.join(self.base, "bench-emu.pid")
        if os.path.exists(pid_file):
            os.unlink(pid_file)

    # ------------------------------------------------------------- scenario 1
    def startup(self):
        log("1. start-up to ready (queue Card)")
        home = os.path.join(self.base, "bench-home")
        os.makedirs(home, exist_ok=True)
        env = dict(os.environ, QT_QPA_PLATFORM="offscreen", HOME=home,
                   XDG_RUNTIME_DIR=os.path.join(self.base, "bench-run"))
        os.makedirs(env["XDG_RUNTIME_DIR"], mode=0o700, exist_ok=True)
        shot = os.path.join(self.base, "bench-shot.bmp")
        tool = [self.prog("app", "vkts3-properties"), "--queue", "Card", "--screenshot", shot]
        client = [self.prog("bench", "vkt-bench-startup-client"), "Card"]
        transcript = os.environ.get("VKT_EMU_TRANSCRIPT_Card")

        # One run of each first: warm caches, and compare what each sent the printer.
        mark = os.path.getsize(transcript) if transcript and os.path.exists(transcript) else 0
        _, _, _, out = run(tool, env=env)
        if "screenshot saved" not in out:
            raise BenchError("the tool did not reach its main window: " + out)
        tool_bytes = self.sent_since(transcript, mark)
        mark = os.path.getsize(transcript) if transcript else 0
        run(client)
        client_bytes = self.sent_since(transcript, mark)
        note = "offscreen, until the filled window is saved (exit not counted)"
        if transcript:
            tool_queries, client_queries = self.exchanges(tool_bytes), self.exchanges(client_bytes)
            once = [q for i, q in enumerate(tool_queries) if i == 0 or q != tool_queries[i - 1]]
            repeated = sorted({q for i, q in enumerate(tool_queries) if i and q == tool_queries[i - 1]})
            if once == client_queries:
                note += "; same exchanges (%d)" % len(client_queries)
                if repeated:
                    note += ", the tool repeats %s" % ", ".join(q.replace("\\x1b", "ESC ").replace("\\x0d", "")
                                                                for q in repeated)
            else:
                log("  warning: the tool and the client made different exchanges:\n    tool   %s\n    client %s"
                    % (tool_queries, client_queries))
                note += "; WARNING: different exchanges (see log)"

        ours, base, peaks = [], [], []
        for _ in range(self.reps):
            ms, rss = self.run_until_ready(tool, env)
            ours.append(ms)
            peaks.append(rss)
            ms, _, _, _ = run(client)
            base.append(ms)
        # How much of it is just starting Qt: the tool with --help leaves right after QApplication.
        qt = [run([tool[0], "--help"], env=env)[0] for _ in range(max(self.reps, 3))]
        note += "; tool --help (Qt start, no window) %.0f ms" % statistics.median(qt)
        self.add_row("1 start-up to ready", statistics.median(ours), statistics.median(base),
                     peak=max(peaks), note=note)

    @staticmethod
    def run_until_ready(cmd, env):
        """Milliseconds until the tool reports its window saved, and its peak RSS in MiB."""
        start = time.perf_counter()
        proc = subprocess.Popen(cmd, env=env, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
        ready = None
        for line in proc.stdout:
            if line.startswith(b"screenshot saved"):
                ready = (time.perf_counter() - start) * 1000.0
        proc.stdout.close()
        _, status, usage = os.wait4(proc.pid, 0)
        proc.returncode = os.waitstatus_to_exitcode(status)
        if ready is None or proc.returncode != 0:
            raise BenchError("the tool did not reach its main window (exit %d)" % proc.returncode)
        return ready, usage.ru_maxrss / 1024.0

    @staticmethod
    def exchanges(sent):
        """Escaped bytes sent, cut after each reply request ESC "E 2" CR."""
        marker = "\\x1bE 2\\x0d"
        return (sent or "").split(marker)[:-1]

    @staticmethod
    def sent_since(transcript, offset):
        """The bytes sent to the emulator after `offset` in its transcript, per connection joined."""
        if not transcript or not os.path.exists(transcript):
            return None
        with open(transcript, "rb") as f:
            f.seek(offset)
            text = f.read().decode(errors="replace")
        received = []
        for line in text.splitlines():
            m = re.match(r"c\d+ > (.*)$", line)
            if m:
                received.append(m.group(1))
        return "".join(received)

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
        port_file = os.path.join(self.base, "bench-emu.port")
        emu_log = open(os.path.join(self.base, "bench-emu.log"), "wb")
        profile = os.path.join(ROOT, "emulator", "profiles", "VKTS32.profile")
        self.emulator = subprocess.Popen([self.prog("emulator", "vkt-emulator"), "--port", "0",
                                          "--port-file", port_file, "--profile", profile],
                                         stdout=subprocess.DEVNULL, stderr=emu_log)
        emu_log.close()
        # scripts/bench stops it from this file should this runner die without its cleanup.
        with open(os.path.join(self.base, "bench-emu.pid"), "w") as f:
            f.write("%d\n" % self.emulator.pid)
        deadline = time.time() + 10
        while not (os.path.exists(port_file) and open(port_file).read().strip()):
            if time.time() > deadline or self.emulator.poll() is not None:
                raise BenchError("the PRN emulator did not start")
            time.sleep(0.05)
        port = open(port_file).read().strip()
        queue = "BenchPrn"
        self.add_queue(queue, "vkt3socket://127.0.0.1:%s/?snmp=false" % port)
        try:
            emu_log_path = os.path.join(self.base, "bench-emu.log")
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
            self.stop_emulator()

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

    # ------------------------------------------------------------------ table
    def table(self):
        head = ("scenario", "ours", "baseline", "ratio", "peak MiB")
        lines = []
        for r in self.rows:
            unit = r["unit"]
            lines.append((r["scenario"], "%.3f %s" % (r["ours_median"], unit),
                          "-" if r["baseline_median"] is None else "%.3f %s" % (r["baseline_median"], unit),
                          "-" if r["ratio"] is None else "%.2f" % r["ratio"],
                          "-" if r["peak_memory_mib"] is None else "%.1f" % r["peak_memory_mib"]))
        widths = [max(len(str(x[i])) for x in [head] + lines) for i in range(5)]
        fmt = "%-{}s  %{}s  %{}s  %{}s  %{}s".format(*widths)
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
    scenarios = [runner.startup, runner.listing, runner.ppd_save, runner.test_cards, runner.prn, runner.firmware]
    wanted = {int(x) for x in args.only.split(",") if x} or set(range(1, 7))
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
