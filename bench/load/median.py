#!/usr/bin/env python3
"""Reads the Markdown rows of several runs of qvc_bench_load (stdin) and
prints one table: for each server, measurement and client count the median
of every numeric column over the runs."""
import re
import statistics
import sys

rows = {}
order = []
for line in sys.stdin:
    cells = [cell.strip() for cell in line.strip().strip("|").split("|")]
    if len(cells) < 3:
        continue
    key = tuple(cells[:3])
    if key not in rows:
        rows[key] = []
        order.append(key)
    rows[key].append(cells[3:])


def median_cell(values):
    numbers = [re.search(r"-?\d+(\.\d+)?", value) for value in values]
    if not values or not all(numbers):
        return values[0] if values else ""
    middle = statistics.median(float(number.group(0)) for number in numbers)
    return numbers[0].re.sub(f"{middle:.10g}", values[0], count=1)


print(f"Median of {max(len(runs) for runs in rows.values()) if rows else 0} runs.")
print()
print("| Server | Measurement | Clients | Requests/s | p50 ms | p99 ms | Errors | Clients answered |")
print("|---|---|---|---|---|---|---|---|")
for key in order:
    columns = list(zip(*rows[key]))
    print("| " + " | ".join(list(key) + [median_cell(list(column)) for column in columns]) + " |")
