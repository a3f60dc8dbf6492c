"""Plots as SVG: told apart by dashes, marks and shades of grey, never by colour alone; the legend below the plot."""

import subprocess

KEY = "set key outside bottom center vertical Left reverse samplen 4 width 2"
HEAD = """
set output '{name}.svg'
set title '{title}'
set datafile separator '\\t'
set grid ytics lc rgb '#dddddd' lt 1
set border 3
set tics nomirror
{key}
set xlabel "{xlabel}\\n " offset 0,0.4
set ylabel '{ylabel}'
set linetype 1 lc rgb '#000000' dt 1 lw 1.5 pt 7 ps 0.7
set linetype 2 lc rgb '#000000' dt 2 lw 1.5 pt 6 ps 0.8
set linetype 3 lc rgb '#777777' dt 4 lw 1.5 pt 5 ps 0.7
set linetype 4 lc rgb '#777777' dt 3 lw 1.5 pt 8 ps 0.9
"""
SHADES = ("#333333", "#999999", "#eeeeee", "#666666")


def draw(folder, name, title, xlabel, ylabel, commands, columns, size=(640, 440)):
    """One plot. Columns are written to a data file, which the commands call DATA."""
    data = folder / f"{name}.dat"
    data.write_text("".join("\t".join(str(field) for field in line) + "\n" for line in columns))
    script = [f"set terminal svg size {size[0]},{size[1]} font 'sans-serif,12' background '#ffffff'"]
    script.append(HEAD.format(name=name, title=title, key=KEY, xlabel=xlabel, ylabel=ylabel))
    script += [command.replace("DATA", f"'{data.name}'") for command in commands]
    # Run in the folder: a plot names the data that it was made from.
    subprocess.run(["gnuplot"], input="\n".join(script) + "\n", text=True, check=True, cwd=folder)


def lines(*titles, first=2, x=1):
    """The plot command for columns that stand one after the other, each a line with marks and its own dashes."""
    return "plot " + ", ".join(f"DATA using {x}:{first + i} with linespoints lt {i + 1} title '{title}'"
                               for i, title in enumerate(titles))


def bars(*titles):
    """The commands for groups of bars, named by the first column, each bar in its own shade."""
    return ["set style data histogram", "set style histogram clustered gap 1", "set style fill solid 1 border lc rgb '#000000'",
            "set yrange [0:*]",
            "plot " + ", ".join(f"DATA using {i + 2}{':xtic(1)' if i == 0 else ''} dt 1 lc rgb '{SHADES[i]}' title '{title}'"
                                for i, title in enumerate(titles))]
