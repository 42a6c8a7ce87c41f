"""A library in parts as a job array of a real Slurm, whose daemons all run here."""
import os
import shutil
import socket
import subprocess
import tempfile
import unittest
from pathlib import Path

from run_test import Library, made_up_drawings

PROGRAMS = ["munged", "slurmctld", "slurmd", "sbatch"]
CONFIGURATION = """\
ClusterName=test
SlurmctldHost={host}(127.0.0.1)
SlurmctldPort={ports[0]}
SlurmdPort={ports[1]}
SlurmUser=root
AuthType=auth/munge
AuthInfo=socket={folder}/munge.socket
CredType=cred/munge
ProctrackType=proctrack/linuxproc
TaskPlugin=task/none
SwitchType=switch/none
MpiDefault=none
SelectType=select/cons_tres
SelectTypeParameters=CR_CPU
ReturnToService=2
JobAcctGatherType=jobacct_gather/none
AccountingStorageType=accounting_storage/none
StateSaveLocation={folder}/state
SlurmdSpoolDir={folder}/spool
SlurmctldPidFile={folder}/slurmctld.pid
SlurmdPidFile={folder}/slurmd.pid
NodeName={host} NodeAddr=127.0.0.1 CPUs=2 State=UNKNOWN
PartitionName=test Nodes=ALL Default=YES MaxTime=INFINITE State=UP
"""


def free_ports(count):
    sockets = [socket.socket() for _ in range(count)]
    try:
        for one in sockets:
            one.bind(("127.0.0.1", 0))
        return [one.getsockname()[1] for one in sockets]
    finally:
        for one in sockets:
            one.close()


class Slurm(Library):
    @classmethod
    def setUpClass(cls):
        missing = [program for program in PROGRAMS
                   if not shutil.which(program, path=os.environ["PATH"] + ":/usr/sbin")]
        if missing:
            raise unittest.SkipTest(f"{' '.join(missing)} not installed")
        if os.getuid() != 0:
            raise unittest.SkipTest("the daemons of Slurm have to be started by root")
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        cls.daemons = Path(folder.name)
        configuration = cls.daemons / "slurm.conf"
        configuration.write_text(CONFIGURATION.format(
            host=socket.gethostname().split(".")[0], folder=cls.daemons, ports=free_ports(2)))
        for name in ["state", "spool"]:
            (cls.daemons / name).mkdir()
        (cls.daemons / "key").write_bytes(os.urandom(1024))
        (cls.daemons / "key").chmod(0o400)
        os.environ["SLURM_CONF"] = str(configuration)
        cls.addClassCleanup(os.environ.pop, "SLURM_CONF")
        files = {"key-file": "key", "socket": "munge.socket", "pid-file": "munged.pid",
                 "log-file": "munged.log", "seed-file": "seed"}
        cls.start("Created 2 work threads", "munged", "--foreground", "--force",
                  *[f"--{option}={cls.daemons / name}" for option, name in files.items()])
        cls.start("Running as primary controller", "slurmctld", "-D", "-v")
        cls.start("slurmd started", "slurmd", "-D", "-v")

    @classmethod
    def start(cls, ready, *words):
        """Starts a daemon and waits until it says that it is ready. Skips the tests when it ends before."""
        daemon = subprocess.Popen(words, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                                  text=True, env={**os.environ, "PATH": os.environ["PATH"] +
                                                  ":/usr/sbin"})
        cls.addClassCleanup(cls.end, daemon)
        said = ""
        for line in daemon.stdout:
            said += line
            if ready in line:
                return
        raise unittest.SkipTest(f"{words[0]} does not start: {said}")

    @staticmethod
    def end(daemon):
        daemon.terminate()
        daemon.communicate()

    def test_parts_merge_into_the_bytes_of_one_run(self):
        self.write_library(made_up_drawings(drawings=10, blocks=30, copies=0))
        for method, options in [("shape", ""), ("text", "--min -3")]:
            self.merged(method, 40, options + " --slurm")
            self.whole(method, 40, options)
            self.assertEqual((self.folder / "results/query.json").read_bytes(),
                             (self.folder / "whole.json").read_bytes())

    def test_queries_are_tasks_where_there_is_one_part(self):
        self.write_library(made_up_drawings(drawings=4, blocks=5, copies=0))
        (self.folder / "it's broken.json").write_text("{}")
        status, rows, _ = self.run_queries("query.json", "it's broken.json", "--slurm")
        self.assertEqual((status, rows), (1, [
            ["query.json", "0", "adaptive", "5", ""],
            ["it's broken.json", "1", "", "",
             "[json.exception.out_of_range.403] key 'shape' not found"]]))
        self.whole("adaptive", 5)
        self.assertEqual((self.folder / "results/query.json").read_bytes(),
                         (self.folder / "whole.json").read_bytes())
        self.assertEqual(os.listdir(self.folder / "results"), ["query.json"])


if __name__ == "__main__":
    unittest.main()
