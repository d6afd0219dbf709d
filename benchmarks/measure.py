"""Runs programs and tells what that cost; used by run and gate."""
import os
import random
import re
import statistics
import subprocess
import sys
from dataclasses import dataclass

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
MODFORGE = f"{ROOT}/build/release/src/modforge"
FLOOR = f"{ROOT}/build/release/benchmarks/floor"
STOPWATCH = f"{ROOT}/build/release/benchmarks/stopwatch"
SAMPLES = f"{ROOT}/tests/data/samples"


def build(*targets):
    subprocess.run(["bash", "-c", '. scripts/setup.sh && build_preset release "$@"', "build", *targets], cwd=ROOT, check=True)


@dataclass
class Command:
    arguments: list
    output: str  # removed before each run


@dataclass
class Cost:
    wall: float  # seconds
    cpu: float   # seconds
    memory: int  # bytes at the peak
    faults: int


def output_of(arguments, what, check=True):
    done = subprocess.run(arguments, capture_output=True, text=True, check=False)
    if check and done.returncode != 0:
        sys.exit(f"{what} failed: {' '.join(arguments)}\n{done.stderr}")
    return done


def remove(path):
    if os.path.exists(path):
        os.unlink(path)


def cost_of(command):
    remove(command.output)
    wall, cpu, memory, faults = map(int, output_of([STOPWATCH, *command.arguments], "The run").stdout.split())
    return Cost(wall * 1e-9, cpu * 1e-6, memory * 1024, faults)


def system_calls(command, log):
    remove(command.output)
    output_of(["strace", "-f", "-c", "-o", log, *command.arguments], "strace")
    with open(log, encoding="utf-8") as file:
        return int(re.search(r"^ *100\.00 +\S+ +\d+ +(\d+).* total$", file.read(), re.M)[1])


def instructions(command):
    remove(command.output)
    tool = ["valgrind", "--tool=callgrind", "--callgrind-out-file=/dev/null"]
    return int(re.search(r"Collected : (\d+)", output_of([*tool, *command.arguments], "valgrind").stderr)[1])


def measure(groups, rounds):
    """Runs all commands of all groups in each round, in random order, but those of a group side by side; one round more,
    which does not count, comes first. Returns, group by group, for each command its costs, round by round."""
    chance = random.Random()
    costs = {group: {name: [] for name in commands} for group, commands in groups.items()}
    for turn in range(rounds + 1):
        print(f"\rround {turn} of {rounds} ", end="", file=sys.stderr, flush=True)
        for group in chance.sample(list(groups), len(groups)):
            for name in chance.sample(list(groups[group]), len(groups[group])):
                cost = cost_of(groups[group][name])
                if turn > 0:
                    costs[group][name].append(cost)
        for commands in groups.values():
            for command in commands.values():
                remove(command.output)
    print("\r", end="", file=sys.stderr)
    return costs


def ratios(costs, base, what="wall"):
    """Of two lists of costs, the ratios within a round: lower quartile, median, upper quartile."""
    pairs = [getattr(a, what) / max(getattr(b, what), 1e-6) for a, b in zip(costs, base)]
    return statistics.quantiles(pairs, n=4, method="inclusive") if len(pairs) > 1 else pairs * 3


def median(costs, what):
    return statistics.median(getattr(cost, what) for cost in costs)
