#!/usr/bin/env python3
"""Runs the documented Slurm job array on a cluster of one node, which is this machine.

usage: slurm_test.py PROGRAM
"""
import getpass
import os
import secrets
import socket
import subprocess

import batch_fixture as batch


def write_configuration(folder):
    host = socket.gethostname().split('.')[0]
    for name in ('state', 'spool'):
        (folder / name).mkdir()
    (folder / 'slurm.conf').write_text(f'''ClusterName=test
SlurmctldHost={host}(127.0.0.1)
SlurmctldPort={batch.free_port()}
SlurmdPort={batch.free_port()}
SlurmUser={getpass.getuser()}
SlurmdUser={getpass.getuser()}
AuthType=auth/munge
AuthInfo=socket={folder}/munge.socket
CredType=cred/munge
StateSaveLocation={folder}/state
SlurmdSpoolDir={folder}/spool
SlurmctldPidFile={folder}/slurmctld.pid
SlurmdPidFile={folder}/slurmd.pid
ProctrackType=proctrack/linuxproc
TaskPlugin=task/none
JobAcctGatherType=jobacct_gather/none
MpiDefault=none
MailProg=/bin/true
SwitchType=switch/none
ReturnToService=2
SlurmdParameters=config_overrides
SelectType=select/cons_tres
SelectTypeParameters=CR_CPU
SchedulerParameters=sched_min_interval=0,batch_sched_delay=0
NodeName={host} NodeAddr=127.0.0.1 CPUs=16 State=UNKNOWN
PartitionName=all Nodes={host} Default=YES MaxTime=10 State=UP
''')


def start_cluster(folder, servers, environment):
    munged, slurmctld, slurmd, sinfo = batch.need('munged', 'slurmctld', 'slurmd', 'sinfo')
    key = folder / 'munge.key'
    key.write_bytes(secrets.token_bytes(128))
    key.chmod(0o400)
    log = open(folder / 'log', 'w')
    # The folder is in one that everyone can write to, which munged does not like.
    servers.start(munged, '--foreground', '--force', f'--socket={folder}/munge.socket', f'--key-file={key}',
                  f'--pid-file={folder}/munge.pid', f'--log-file={folder}/munge.log', f'--seed-file={folder}/munge.seed',
                  stderr=log)
    batch.wait_until((folder / 'munge.socket').exists, 'munged')
    servers.start(slurmctld, '-D', env=environment, stderr=log, stdout=log)
    servers.start(slurmd, '-D', env=environment, stderr=log, stdout=log)

    def is_idle():
        answer = subprocess.run([sinfo, '-h', '-o', '%t'], env=environment, check=False, text=True, capture_output=True)
        return answer.stdout.strip() == 'idle'

    try:
        batch.wait_until(is_idle, 'Slurm', 40)
    except batch.Skip as reason:
        raise batch.Skip(f'{reason}; it says:\n{(folder / "log").read_text()[-2000:]}') from None


def test(folder, quarv):
    batch.need('sbatch')
    batch.write_queries(folder)
    write_configuration(folder)
    environment = dict(os.environ, PATH=f'{quarv.parent}:{os.environ["PATH"]}', SLURM_CONF=str(folder / 'slurm.conf'))
    (folder / 'array.sh').write_text(batch.recipe('SBATCH'))
    with batch.Servers() as servers:
        start_cluster(folder, servers, environment)
        run = subprocess.run(['sbatch', '--wait', 'array.sh'], cwd=folder, env=environment, check=False, text=True,
                             stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=150)
    said = run.stdout + ''.join(path.read_text() for path in folder.glob('slurm-*.out'))
    assert run.returncode == 1, said  # one share has a bad file in it
    parts = sorted(folder.glob('results.*.jsonl'))
    assert len(parts) == 8, said
    merge = subprocess.run([quarv, 'batch', '--merge', *parts, '--results', 'results.jsonl'], cwd=folder, check=False,
                           text=True, capture_output=True)
    assert 'missing' not in merge.stderr, merge.stderr
    batch.check_against_one_run(folder, quarv)


if __name__ == '__main__':
    batch.main(test)
