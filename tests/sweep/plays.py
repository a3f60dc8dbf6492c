"""What the scripts that play cases share: building the programs, and playing many cases at a time."""
import concurrent.futures
import queue
import subprocess

from sweep.site import Failure


def build(top):
    """Builds what the cases run; gives its bin folder."""
    subprocess.run([top / "script/bootstrap"], check=True)
    release = top / "build/release"
    if not (release / "build.ninja").exists():
        subprocess.run(["cmake", "--preset", "release"], cwd=top, check=True, stdout=subprocess.DEVNULL)
    build_sweep = ["cmake", "--build", "--preset", "release", "--target", "sweep", "--", "--quiet"]
    subprocess.run(build_sweep, cwd=top, check=True)
    return release / "bin"


def play_all(cases, make_stage, play, jobs):
    """Plays the cases, each job on a stage of its own; gives what was wrong with each, in order."""
    stages = queue.SimpleQueue()
    for _ in range(jobs):
        stages.put(None)

    def play_one(case):
        stage = stages.get()
        try:
            stage = stage or make_stage()
            wrong = play(stage, case)
            if wrong:  # whatever it left concerns no other case
                stage.remove()
                stage = None
            return wrong
        except Failure as failure:
            return f"an undisturbed workflow before it: {failure}"
        finally:
            stages.put(stage)

    try:
        with concurrent.futures.ThreadPoolExecutor(jobs) as pool:
            yield from pool.map(play_one, cases)
    finally:
        for stage in (stages.get() for _ in range(jobs)):
            if stage:
                stage.remove()
