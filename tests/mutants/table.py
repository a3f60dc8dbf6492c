"""The table of mutants: the *.toml files of this folder, each mutant a small defect in one line of the product.

  [[mutant]]
  name = "fini-keeps-the-plug-in"     names the defect; in small letters
  file = "pdk/include/..."            of the product
  old = '''...'''                     stands in one line of the file, and in no other
  new = '''...'''                     takes its place
  why = "..."                         what a user would suffer
  test = "pdk_tests Loading.*"        the test program, and the tests of it that must fail
  survives = "..."                    why no test can see it; only for a mutant that does not change what anybody sees
"""
import dataclasses
import pathlib
import tomllib

FOLDER = pathlib.Path(__file__).resolve().parent
# By the beginning of a file's name: the layer that a mutant of it belongs to, and the programs that test the layer.
LAYERS = {
    "framework/": ("framework", ("framework_base_tests", "framework_plugin_test")),
    "pdk/": ("glue", ("pdk_tests",)),
    "providers/cdp/lmr/": ("lmr", ("cdp_lmr_tests",)),
    "providers/cdp/model/": ("lmr", ("cdp_lmr_tests",)),
    "providers/cdp/": ("provider", ("cdp_piece_tests", "cdp_plugin_tests", "cdp_method_tests")),
    "appliance/": ("appliance", ("appliance_tests",)),
}
REQUIRED = ("name", "file", "old", "new", "why", "test")


class TableError(Exception):
    """A row that says something wrong."""


@dataclasses.dataclass
class Mutant:
    number: int
    name: str
    file: str
    old: str
    new: str
    why: str
    test: str
    survives: str = ""
    layer: str = ""
    layer_programs: tuple = ()

    @property
    def program(self):
        return self.test.split(" ")[0]

    @property
    def filter(self):
        return self.test.split(" ")[1]

    def programs(self):
        """That of the row first, then the others of its layer."""
        return [self.program, *(program for program in self.layer_programs if program != self.program)]


def read_row(row, number, where):
    unknown = set(row) - set(REQUIRED) - {"survives"}
    missing = [key for key in REQUIRED if key not in row]
    if unknown or missing:
        raise TableError(f"{where}: row {row.get('name', '?')} has {sorted(unknown)} and lacks {missing}")
    mutant = Mutant(number=number, **row)
    if mutant.test.count(" ") != 1:
        raise TableError(f"{where}: {mutant.name}: the test is a program and a filter")
    for beginning, (layer, programs) in LAYERS.items():
        if mutant.file.startswith(beginning):
            mutant.layer, mutant.layer_programs = layer, programs
            return mutant
    raise TableError(f"{where}: {mutant.name}: {mutant.file} belongs to no layer")


def mutate(mutant, text):
    """The file's text with the defect; refuses a row that does not fit the file any more."""
    count = text.count(mutant.old)
    if count != 1 or "\n" in mutant.old:
        raise TableError(f"{mutant.name}: its old text stands {count} times in {mutant.file}, not once in a line")
    if mutant.old == mutant.new:
        raise TableError(f"{mutant.name}: it changes nothing")
    return text.replace(mutant.old, mutant.new)


def read_table(top):
    """All mutants, in the order of the files; each fits the sources below top."""
    mutants = []
    for file in sorted(FOLDER.glob("*.toml")):
        rows = tomllib.loads(file.read_text())["mutant"]
        mutants += [read_row(row, len(mutants) + number, file.name) for number, row in enumerate(rows, 1)]
    names = [mutant.name for mutant in mutants]
    twice = sorted({name for name in names if names.count(name) > 1})
    if twice:
        raise TableError(f"two mutants are called {', '.join(twice)}")
    wrong = [problem for problem in (misfit(mutant, top) for mutant in mutants) if problem]
    if wrong:
        raise TableError("\n".join(wrong))
    return mutants


def misfit(mutant, top):
    """Why the row does not fit the sources, or None."""
    try:
        mutate(mutant, (top / mutant.file).read_text())
    except FileNotFoundError:
        return f"{mutant.name}: {mutant.file} is not there"
    except TableError as error:
        return str(error)
    return None
