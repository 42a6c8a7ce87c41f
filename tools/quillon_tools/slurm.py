"""Runs searches as a job array of Slurm, on machines that share a file system."""
import re
import shlex
import shutil
import subprocess
from pathlib import Path

from quillon_tools.errors import UserError
from quillon_tools.program import Search, ended

SCRIPT = """\
#!/bin/bash
#SBATCH --job-name=quillon
#SBATCH --output=/dev/null
search() { # LIST QUERY OUTPUT
    PROGRAM \\
        /filelist "$1" /encode "$2" /output "$3" OPTIONS > "$3.console"
    echo $? > "$3.status"
}
case $SLURM_ARRAY_TASK_ID in
"""


def run_array(program, options, groups, folder):
    """Runs every group of (list, query, output) as one task of an array and waits for them.

    Gives the Search of each output. Options for sbatch come from its own variables, SBATCH_...
    """
    if shutil.which("sbatch") is None:
        raise UserError("sbatch is not on the PATH")
    script = SCRIPT.replace("PROGRAM", shlex.quote(program)).replace("OPTIONS", shlex.join(options))
    for number, group in enumerate(groups):
        lines = "".join(f"    search {shlex.join(map(str, search))}\n" for search in group)
        script += f"{number})\n{lines}    ;;\n"
    path = Path(folder, "array.sh")
    path.write_text(script + "esac\n", encoding="utf-8")
    submitted = subprocess.run(["sbatch", "--wait", f"--array=0-{len(groups) - 1}", str(path)],
                               capture_output=True, text=True, check=False)
    if submitted.returncode != 0:
        raise UserError(f"sbatch: {submitted.stderr.strip() or 'a task of the array failed'}")
    return {str(output): read_end(output) for group in groups for *_, output in group}


def read_end(output):
    """The Search whose console lies beside its output."""
    try:
        status = int(Path(f"{output}.status").read_text())
        console = Path(f"{output}.console").read_text(encoding="utf-8", errors="replace")
    except (OSError, ValueError):
        return Search(1, "the task of the array did not run", 0.0)
    times = re.findall(r"^(?:.* time|writeJsonFile): (\d+) ms$", console, re.MULTILINE)
    return ended(status, console, sum(map(int, times)) / 1000)
