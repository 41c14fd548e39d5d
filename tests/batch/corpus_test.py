#!/usr/bin/env python3
"""A batch over the corpus that is killed half way and resumed, and one in two shares, against one undisturbed run.

usage: corpus_test.py PROGRAM
"""
import signal
import subprocess
import time

import batch_fixture as batch


def start(quarv, folder, name, *options):
    return subprocess.Popen([quarv, 'batch', '-j', '2', '--out', name, '--results', f'{name}.jsonl', *options,
                             batch.CORPUS], cwd=folder, stderr=subprocess.DEVNULL)


def num_done(results):
    return results.read_text().count('"status":"ok"') if results.exists() else 0


def finished(folder):
    """The outputs, without what a killed process has not put in its place."""
    return {name: text for name, text in batch.tree(folder).items() if not name.rpartition('/')[2].startswith('.')}


def test(folder, quarv):
    if not batch.CORPUS.is_dir():
        raise batch.Skip(f'there is no {batch.CORPUS}')
    start(quarv, folder, 'whole').wait()
    whole = batch.tree(folder / 'whole')
    half = num_done(folder / 'whole.jsonl') // 2
    assert half > 100

    killed = start(quarv, folder, 'killed')
    while killed.poll() is None and num_done(folder / 'killed.jsonl') < half:
        time.sleep(0.005)
    killed.send_signal(signal.SIGKILL)
    killed.wait()
    time.sleep(0.2)  # its workers end with it
    there = finished(folder / 'killed')
    assert half <= num_done(folder / 'killed.jsonl') and len(there) < len(whole), 'it was killed too late'
    assert all(whole[name] == text for name, text in there.items()), 'an output is not complete'
    start(quarv, folder, 'killed', '--resume').wait()
    assert batch.tree(folder / 'killed') == whole
    assert batch.lasting(folder / 'killed.jsonl') == batch.lasting(folder / 'whole.jsonl')

    for share in (1, 2):
        subprocess.run([quarv, 'batch', '--out', 'parts', '--results', f'part{share}.jsonl', '--shard', f'{share}/2',
                        batch.CORPUS], cwd=folder, check=False, stderr=subprocess.DEVNULL)
    subprocess.run([quarv, 'batch', '--merge', 'part1.jsonl', 'part2.jsonl', '--results', 'parts.jsonl'], cwd=folder,
                   check=False, stderr=subprocess.DEVNULL)
    assert batch.tree(folder / 'parts') == whole
    assert batch.lasting(folder / 'parts.jsonl') == batch.lasting(folder / 'whole.jsonl')


if __name__ == '__main__':
    batch.main(test)
