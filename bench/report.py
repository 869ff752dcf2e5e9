"""What the measurements say: tables, the aims of aims.json, and a picture."""

import json
import os
import subprocess

FOLDER = os.path.dirname(os.path.abspath(__file__))
REFERENCES = ("libpq", "java", "jni", "java-prepared", "java-load")
OURS = ("utils", "wrapper", "blocks", "arrow")
STEADY = 0.05  # above this spread of the fixed arithmetic, the machine was too busy to show small differences


def spread(values):
    """The first quartile, the median and the third quartile."""
    values = sorted(values)
    return [values[int(share * (len(values) - 1) + 0.5)] for share in (0.25, 0.5, 0.75)]


def width(values):
    """The distance between the quartiles, as a share of the median."""
    low, middle, high = spread(values)
    return (high - low) / middle


def median(runs, key):
    return spread([run[key] for run in runs])[1]


def ratios(above, below, key):
    """Run by run; empty if a process of its own did the work, whose processor time is unknown."""
    return [one[key] / other[key] for one, other in zip(above, below) if key in one and key in other]


def print_comparison(database, comparison):
    rows = comparison["rows"]
    references = [one for name in REFERENCES for one in comparison["series"] if one["name"] == name]
    print(f"\n{database}, {comparison['title']}, {rows} rows")
    print(f"  {'':50} {'ns/row':>9} {'cpu/row':>9} {'spread':>7} {'first ms':>9}" +
          "".join(f" {'/ ' + one['name']:>15}" for one in references))
    for one in comparison["series"]:
        runs = one["runs"]
        processor = f"{median(runs, 'processor') / rows * 1e9:.0f}" if "processor" in runs[0] else ""
        first = min(run.get("first_row", 0) for run in runs) * 1000
        print(f"  {one['name'] + ': ' + one['about']:50} {median(runs, 'wall') / rows * 1e9:9.0f} {processor:>9} "
              f"{width([run['wall'] for run in runs]):7.1%} {first:9.2f}" +
              "".join(f" {ratio_text(runs, reference['runs']):>15}" for reference in references))
    varied = width(comparison["machine"])
    print(f"  the machine: a fixed piece of arithmetic varied by {varied:.1%}: " +
          ("steady" if varied <= STEADY else "TOO NOISY to show small differences"), flush=True)


def ratio_text(above, below):
    """The clock's, marked ~ if the rounds differ too much to trust it. The processor's, in brackets where it is known,
    says more on a machine that others use too."""
    wall, processor = ratios(above, below, "wall"), ratios(above, below, "processor")
    mark = "~" if width(wall) > 2 * STEADY else ""
    return f"{spread(wall)[1]:.2f}{mark}" + (f" ({spread(processor)[1]:.2f})" if processor else "")


def runs_of(report, title, name):
    return [run for comparison in report["comparisons"] for one in comparison["series"]
            if (comparison["title"], one["name"]) == (title, name) for run in one["runs"]]


def value_of(report, title, name):
    """The figure of that title, or the seconds per row; none if it was not measured."""
    figures = [one["value"] for one in report["figures"] if (one["title"], one["name"]) == (title, name)]
    rows = [one["rows"] for one in report["comparisons"] if one["title"] == title]
    runs = runs_of(report, title, name)
    return figures[0] if figures else median(runs, "wall") / rows[0] if runs else None


def print_aims(report):
    """An aim limits the ratio of a way to another one ("to"), or of its own to that on other work ("than")."""
    print("\naims: the median of the rounds' ratios, and their quartiles")
    with open(os.path.join(FOLDER, "aims.json"), encoding="utf-8") as file:
        aims = json.load(file)
    for aim in aims:
        for way in aim["ways"] if aim.get("database", report["database"]) == report["database"] else []:
            verdicts = [verdict(what, values, aim["limit"]) for what, values in aim_ratios(report, aim, way) if values]
            if verdicts:
                print(f"  {report['database']}, {aim['title']}: {way} / {aim.get('to') or aim['than']} "
                      f"<= {aim['limit']:.2f}: " + ", ".join(verdicts))


def aim_ratios(report, aim, way):
    if "than" in aim:
        # Rounds of different work have nothing in common, so their medians are compared.
        above, below = (value_of(report, title, way) for title in (aim["title"], aim["than"]))
        return [("", [above / below] if above and below else [])]
    above, below = (runs_of(report, aim["title"], name) for name in (way, aim["to"]))
    return [("", ratios(above, below, "wall")), ("processor ", ratios(above, below, "processor"))]


def verdict(what, values, limit):
    low, middle, high = spread(values)
    met = "met" if high <= limit else "NOT met" if low > limit else "inconclusive"
    return f"{what}{middle:.2f} ({low:.2f} to {high:.2f}) {met}"


def plot(report, comparison, file):
    """Draws the time per row as bars, into an SVG file."""
    lines = []
    for one in comparison["series"]:
        low, middle, high = (value / comparison["rows"] * 1e9 for value in spread([run["wall"] for run in one["runs"]]))
        lines.append(f"\"{one['about']}\" {middle} {low} {high} {int(one['name'].startswith(OURS))}\n")
    names = {"file": file, "work": f"{report['database']}, {comparison['title']}", "machine": report["machine"]}
    script = "".join(f"{name} = {json.dumps(text)}\n" for name, text in names.items())
    script += f"$ways << EOD\n{''.join(lines)}EOD\nload {json.dumps(os.path.join(FOLDER, 'plot.gp'))}\n"
    subprocess.run(["gnuplot"], input=script, text=True, check=True)
