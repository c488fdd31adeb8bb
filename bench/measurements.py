"""What Google Benchmark has measured."""
import json
import statistics
import sys


def medians(files):
    """(case, size, who) -> {"time": milliseconds, counter: value}, the median of the repetitions."""
    runs = {}
    for name in files:
        with open(name, encoding="utf-8") as file:
            # They ran in any order. The families are numbered as the program registers them.
            for run in sorted(json.load(file)["benchmarks"], key=lambda run: run["family_index"]):
                if run.get("error_occurred"):
                    sys.exit(f"{run['name']}: {run['error_message']}")
                if run["run_type"] == "iteration":
                    case, who, size = run["name"].split("/")[:3]
                    runs.setdefault((case, int(size), who), []).append(run)

    def values(repetitions):
        manual = "manual_time" in repetitions[0]["name"]
        columns = {"time": "real_time" if manual else "cpu_time", "peak_bytes": "peak_bytes", "input_bytes": "input_bytes"}
        return {to: statistics.median(run[of] for run in repetitions) for to, of in columns.items() if of in repetitions[0]}

    return {key: values(repetitions) for key, repetitions in runs.items()}
