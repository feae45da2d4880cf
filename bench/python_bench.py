#!/usr/bin/env python3
"""The Python package beside the walk: wzss.read_cells and wzss.read_workbook
on a generated workbook against `wzwalk --walker` (the host kit's walk of the
same file through the same plug-in), and wzss.dask.read_cells on many
workbooks with two worker processes against one.

    .venv/bin/python bench/python_bench.py [--build build] [--size 16M] [--runs 5]
        [--books 20] [--book-size 2M]

Prints medians: CPU seconds (user + system, what a busy machine disturbs
least) and wall seconds for the single-workbook reads, wall seconds for Dask.
"""
import argparse
import resource
import statistics
import subprocess
import tempfile
import time
from pathlib import Path

import wzss
import wzss.dask


def generate(build: Path, size: str, seed: int, path: Path) -> str:
    subprocess.run([str(build / "bin" / "wzgen"), "--size", size, "--seed", str(seed),
                    "-o", str(path)], check=True)
    return str(path)


def children_cpu() -> float:
    usage = resource.getrusage(resource.RUSAGE_CHILDREN)
    return usage.ru_utime + usage.ru_stime


def walk(build: Path, path: str) -> tuple:
    cpu, wall = children_cpu(), time.perf_counter()
    subprocess.run([str(build / "bin" / "wzwalk"), "--walker", "--plugin",
                    str(build / "lib" / "libwzss.so"), path], check=True,
                   stdout=subprocess.DEVNULL)
    return children_cpu() - cpu, time.perf_counter() - wall


def in_process(function) -> tuple:
    cpu, wall = time.process_time(), time.perf_counter()
    function()
    return time.process_time() - cpu, time.perf_counter() - wall


def medians(samples: list) -> tuple:
    return tuple(statistics.median(column) for column in zip(*samples))


def scheduler_tasks(dask_scheduler) -> int:
    return len(dask_scheduler.tasks)


def dask_wall(paths: list, workers: int, runs: int) -> float:
    from distributed import Client, LocalCluster
    with LocalCluster(n_workers=workers, threads_per_worker=1, processes=True,
                      dashboard_address=None) as cluster, Client(cluster) as client:
        walls = []
        for _ in range(runs + 1):  # the first run imports the package on the workers
            # The same graph again would find results the scheduler has not
            # yet forgotten: wait until it holds no task.
            while client.run_on_scheduler(scheduler_tasks):
                time.sleep(0.05)
            start = time.perf_counter()
            wzss.dask.read_cells(paths).map_partitions(len).compute()
            walls.append(time.perf_counter() - start)
    return statistics.median(walls[1:])


def main() -> None:
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("--build", type=Path, default=Path("build"))
    parser.add_argument("--size", default="16M")
    parser.add_argument("--runs", type=int, default=5)
    parser.add_argument("--books", type=int, default=20)
    parser.add_argument("--book-size", default="2M")
    args = parser.parse_args()
    build = args.build.resolve()
    with tempfile.TemporaryDirectory() as folder:
        big = generate(build, args.size, 1, Path(folder) / "big.wzs")
        rows = [("walk (wzwalk --walker)", medians([walk(build, big) for _ in range(args.runs)]))]
        for name, function in [("read_cells", lambda: wzss.read_cells(big)),
                               ("read_workbook", lambda: wzss.read_workbook(big))]:
            function()  # first run: pages and imports
            rows.append((name, medians([in_process(function) for _ in range(args.runs)])))
        walk_cpu, walk_wall = rows[0][1]
        print(f"{args.size} workbook, median of {args.runs} runs")
        print(f"{'':24} {'cpu s':>7} {'x walk':>7} {'wall s':>7} {'x walk':>7}")
        for name, (cpu, wall) in rows:
            print(f"{name:24} {cpu:7.3f} {cpu / walk_cpu:7.2f} {wall:7.3f} {wall / walk_wall:7.2f}")

        paths = [generate(build, args.book_size, seed, Path(folder) / f"book{seed}.wzs")
                 for seed in range(1, args.books + 1)]
        one, two = (dask_wall(paths, workers, args.runs) for workers in (1, 2))
        print(f"dask read_cells, {args.books} workbooks of {args.book_size}, median wall of "
              f"{args.runs}: 1 worker {one:.3f} s, 2 workers {two:.3f} s, speed-up {one / two:.2f}")


if __name__ == "__main__":
    main()
