#!/usr/bin/env python3
"""Runs the documented recipe for several hosts: two ssh servers on this machine, each a host of its own.

usage: parallel_test.py PROGRAM
"""
import getpass
import os
import subprocess

import batch_fixture as batch

HOSTS = ('alpha', 'beta')


def start_hosts(folder, quarv, servers):
    """Two ssh servers with keys of their own. Returns the configuration with which ssh finds them."""
    sshd, ssh, keygen = batch.need('sshd', 'ssh', 'ssh-keygen')
    if os.geteuid() == 0:
        os.makedirs('/run/sshd', exist_ok=True)  # where sshd, if it is root, wants to confine itself
    for key in ('host_key', 'user_key'):
        subprocess.run([keygen, '-q', '-t', 'ed25519', '-N', '', '-f', folder / key], check=True)
    config = ''
    for host in HOSTS:
        port = batch.free_port()
        (folder / f'{host}.sshd').write_text(
            f'ListenAddress 127.0.0.1:{port}\nHostKey {folder}/host_key\nPidFile none\nUsePAM no\nStrictModes no\n'
            f'AuthorizedKeysFile {folder}/user_key.pub\nPermitRootLogin yes\n'
            f'SetEnv PATH={quarv.parent}:/usr/bin:/bin QUARV_TEST_HOST={host}\n')
        servers.start(sshd, '-D', '-e', '-f', str(folder / f'{host}.sshd'), stderr=open(folder / f'{host}.log', 'w'))
        batch.wait_until(lambda p=port: batch.answers(p), f'sshd for {host}')
        config += (f'Host {host}\n HostName 127.0.0.1\n Port {port}\n User {getpass.getuser()}\n'
                   f' IdentityFile {folder}/user_key\n IdentitiesOnly yes\n StrictHostKeyChecking no\n'
                   f' UserKnownHostsFile /dev/null\n LogLevel ERROR\n')
    (folder / 'ssh_config').write_text(config)
    for host in HOSTS:
        login = subprocess.run([ssh, '-F', folder / 'ssh_config', '-o', 'BatchMode=yes', host, 'true'], check=False)
        if login.returncode != 0:
            raise batch.Skip(f'this user cannot log in on {host}')
    return folder / 'ssh_config'


def test(folder, quarv):
    batch.need('parallel')
    batch.write_queries(folder)
    with batch.Servers() as servers:
        config = start_hosts(folder, quarv, servers)
        (folder / 'hosts').write_text(''.join(f'1/{host}\n' for host in HOSTS))
        environment = dict(os.environ, PATH=f'{quarv.parent}:{os.environ["PATH"]}', HOME=str(folder),
                           PARALLEL_SSH=f'ssh -F {config}')
        # A share leaves a note of the host that did it.
        script = batch.recipe('parallel').replace('quarv batch -j', "echo '$QUARV_TEST_HOST' '>>' done.by ';' quarv batch -j")
        run = subprocess.run(['sh', '-c', script], cwd=folder, env=environment, check=False, text=True,
                             stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=100)
    assert run.returncode == 1 and (folder / 'results.jsonl').exists(), run.stdout
    batch.check_against_one_run(folder, quarv)
    used = set((folder / 'done.by').read_text().split())
    assert used == set(HOSTS), f'the work was done by {used}'


if __name__ == '__main__':
    batch.main(test)
