#!/usr/bin/env python3
"""Prints the summary table of a benchmark run from the files scripts/bench.sh
leaves in its results folder:

    qvc_bench.json      Google Benchmark JSON output (median aggregates)
    decode-node.txt     "decode impl=node offers=N us_per_offer=X ..." lines
    decode-python.txt   the same for Python
    rss.txt             "rss impl=... offers=N peak_kib=P ..." lines, one per process
    e2e.txt             "e2e client=... answer=... inflight=C rep=R ..." lines

Values measured more than once (RSS processes, end-to-end repetitions) are
reported as their median. Ratios are library / other: below 1 the library
takes less time or memory, above 1 for requests per second the library is faster.

    report.py RESULTS_FOLDER
"""

from __future__ import annotations

import json
import os
import statistics
import sys
from collections import defaultdict

SIZES = (100, 1000, 10000)


def shoppers_rows(folder: str) -> list[str]:
    """The many-shoppers table: one row per server, manager count and delivery threads."""
    rows = [
        "| Server | Managers | Delivery threads | Answered | Failed | Seconds | Requests/s "
        "| Threads added, idle | Threads added, peak | RSS per idle manager (B) | RSS per manager after (B) |",
        "|" + "---|" * 11,
    ]
    for record in read_lines(os.path.join(folder, "shoppers.txt"), "shoppers"):
        fields = ("server", "managers", "delivery", "answered", "failed", "seconds", "rps", "threads_idle",
                  "threads_peak", "idle_B_per_manager", "after_B_per_manager")
        rows.append("| " + " | ".join(record.get(field, "?") for field in fields) + " |")
    return rows


def read_lines(path: str, kind: str) -> list[dict]:
    """The key=value fields of every line of path that starts with kind."""
    records = []
    if not os.path.exists(path):
        return records
    with open(path, encoding="utf-8") as source:
        for line in source:
            words = line.split()
            if not words or words[0] != kind:
                continue
            records.append(dict(word.split("=", 1) for word in words[1:] if "=" in word))
    return records


def median_of(values):
    values = [float(value) for value in values]
    return statistics.median(values) if values else None


def google_benchmark(path: str, failures: list[str]) -> dict[str, dict]:
    """Median aggregate per benchmark name ("BM_OfferListDecode/100"); a
    benchmark that stopped with an error is added to failures."""
    if not os.path.exists(path):
        failures.append(f"{path} is missing")
        return {}
    with open(path, encoding="utf-8") as source:
        document = json.load(source)
    medians = {}
    for entry in document.get("benchmarks", []):
        if entry.get("error_occurred"):
            failures.append(f"{entry.get('name')}: {entry.get('error_message')}")
        elif entry.get("aggregate_name") == "median":
            name = entry["run_name"]
            if name.endswith("/real_time"):
                name = name[: -len("/real_time")]
            medians[name] = entry
    return medians


def number(value, digits=2) -> str:
    if value is None:
        return "—"
    if value >= 1000:
        return f"{value:,.0f}"
    if value >= 100:
        return f"{value:.0f}"
    if value >= 10:
        return f"{value:.1f}"
    return f"{value:.{digits}f}"


def ratio(library, other) -> str:
    if library is None or other is None or other == 0:
        return "—"
    return f"{library / other:.2f}×"


def main() -> int:
    if len(sys.argv) != 2:
        print(__doc__, file=sys.stderr)
        return 2
    folder = sys.argv[1]
    failures: list[str] = []
    gbench = google_benchmark(os.path.join(folder, "qvc_bench.json"), failures)

    def gbench_micro(name: str, counter: str):
        entry = gbench.get(name)
        if entry is None or counter not in entry:
            return None
        return float(entry[counter]) * 1e6

    decode = {}
    for impl in ("node", "python"):
        for record in read_lines(os.path.join(folder, f"decode-{impl}.txt"), "decode"):
            decode[(record.get("impl", impl), int(record["offers"]))] = float(record["us_per_offer"])

    rss = defaultdict(lambda: defaultdict(list))
    for record in read_lines(os.path.join(folder, "rss.txt"), "rss"):
        for key in ("baseline_kib", "peak_kib", "after_kib", "heap_kib", "parser_kib"):
            if key in record:
                rss[record["impl"]][key].append(record[key])

    def rss_mib(impl: str, key: str):
        value = median_of(rss[impl][key])
        return None if value is None else value / 1024

    e2e = defaultdict(lambda: defaultdict(list))
    for record in read_lines(os.path.join(folder, "e2e.txt"), "e2e"):
        if "client" not in record:
            continue
        scenario = (record["client"], record["answer"], int(record["inflight"]))
        for key in ("rps", "p50_us", "p99_us"):
            e2e[scenario][key].append(record[key])

    def e2e_value(client: str, answer: str, inflight: int, key: str):
        return median_of(e2e[(client, answer, inflight)][key])

    header = (
        "| Measure | Unit | Library | raw libcurl | Node | Python "
        "| Library ÷ libcurl | Library ÷ Node | Library ÷ Python |"
    )
    rows = [header, "|" + "---|" * 9]

    def row(measure, unit, library, curl=None, node=None, python=None):
        rows.append(
            f"| {measure} | {unit} | {number(library)} | {number(curl)} | {number(node)} | {number(python)} "
            f"| {ratio(library, curl)} | {ratio(library, node)} | {ratio(library, python)} |"
        )

    # The second kind of row decodes a new copy of the text each time, records
    # freed (the live path), against an idiomatic Node client (JSON.parse and
    # its own objects kept as they are).
    decode_rows = (
        ("", "BM_OfferListDecode", "node", "python"),
        (", fresh buffer each time (Node: JSON.parse + plain objects)", "BM_OfferListDecodeFreshBuffer",
         "node-plain", None),
    )
    for label, benchmark, node_impl, python_impl in decode_rows:
        for size in SIZES:
            row(f"Offer-list decode, {size:,} offers{label}", "µs/offer",
                gbench_micro(f"{benchmark}/{size}", "per_offer"),
                node=decode.get((node_impl, size)), python=decode.get((python_impl, size)))
    for size in SIZES:
        row(
            f"… of which answer text → response, {size:,} offers",
            "µs/offer",
            gbench_micro(f"BM_OfferListResponseFromText/{size}", "per_offer"),
        )
    row("Peak RSS, decoding and holding 10,000 offers", "MiB", rss_mib("library", "peak_kib"),
        node=rss_mib("node", "peak_kib"), python=rss_mib("python", "peak_kib"))
    row("RSS after decode, 10,000 offers held", "MiB", rss_mib("library", "after_kib"),
        node=rss_mib("node", "after_kib"), python=rss_mib("python", "after_kib"))
    row("RSS before decode (runtime + answer text)", "MiB", rss_mib("library", "baseline_kib"),
        node=rss_mib("node", "baseline_kib"), python=rss_mib("python", "baseline_kib"))
    row("… library heap held: the 10,000 records and the kept document storage", "MiB", rss_mib("library", "heap_kib"))
    row("… kept by the decoding thread's JSON parser after the answer", "MiB", rss_mib("library", "parser_kib"))
    for answer, label in (("empty", "empty list"), ("offers100", "100 offers")):
        for inflight in (1, 8, 64):
            for key, unit, name in (("rps", "req/s", "requests/s"), ("p50_us", "µs", "p50 latency"),
                                    ("p99_us", "µs", "p99 latency")):
                row(
                    f"End to end, {label}, {inflight} in flight: {name}",
                    unit,
                    e2e_value("manager", answer, inflight, key),
                    curl=e2e_value("curl", answer, inflight, key),
                    node=e2e_value("node", answer, inflight, key),
                )
    # The library against its own decode without its transport: the "Library ÷
    # libcurl" column of these rows is the transport's share.
    for inflight in (8, 64):
        row(f"End to end, 100 offers, {inflight} in flight: requests/s, raw libcurl + the library's decode on one thread",
            "req/s", e2e_value("manager", "offers100", inflight, "rps"),
            curl=e2e_value("curl+decode", "offers100", inflight, "rps"))
    row("Master data decode (getMasterDataWithCompletionWithCompletion)", "µs/call",
        gbench_micro("BM_MasterData", "per_call"))
    row("Consumer document decode (authenticateConsumerWithUserName)", "µs/call",
        gbench_micro("BM_AuthenticateConsumer", "per_call"))
    row("Sign-up document build (signUpDocument)", "µs/call", gbench_micro("BM_SignUpDocument", "per_call"))

    print("\n".join(rows))
    print()
    print("\n".join(shoppers_rows(folder)))
    for failure in failures:
        print(f"report.py: failed: {failure}", file=sys.stderr)
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
