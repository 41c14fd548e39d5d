"""Chromium without a window, spoken to by the DevTools protocol through pipes."""
import base64
import contextlib
import json
import os
import signal
import subprocess
import tempfile

import batch_fixture as batch


class Browser:
    def __init__(self):
        chromium, = batch.need('chromium')
        self._profile = tempfile.TemporaryDirectory(prefix='quarv_browser_', ignore_cleanup_errors=True)
        to_read, self._to = os.pipe()
        self._from, from_write = os.pipe()
        # The browser listens on descriptor 3 and answers on 4.
        flags = ['--headless', '--disable-gpu', '--no-first-run', '--disable-dev-shm-usage', '--disable-background-networking',
                 '--remote-debugging-pipe', f'--user-data-dir={self._profile.name}']
        if os.geteuid() == 0:
            flags.append('--no-sandbox')  # which Chromium demands of root
        command = f'exec "$0" "$@" 3<&{to_read} 4>&{from_write}'
        self._process = subprocess.Popen(['bash', '-c', command, chromium, *flags], pass_fds=(to_read, from_write),
                                         stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                                         start_new_session=True)
        os.close(to_read)
        os.close(from_write)
        self._buffer = b''
        self._number = 0
        self._session = None
        self.events = []
        target = self.call('Target.createTarget', url='about:blank')['targetId']
        self._session = self.call('Target.attachToTarget', targetId=target, flatten=True)['sessionId']
        for domain in ('Page', 'Runtime', 'Log', 'Network'):
            self.call(f'{domain}.enable')

    def __enter__(self):
        return self

    def __exit__(self, *_):
        os.close(self._to)
        self._process.terminate()
        self._process.wait(20)
        # Its helpers may live a little longer, and write into the profile.
        with contextlib.suppress(ProcessLookupError):
            os.killpg(self._process.pid, signal.SIGKILL)
        os.close(self._from)
        self._profile.cleanup()

    def _receive(self):
        while b'\0' not in self._buffer:
            received = os.read(self._from, 1 << 16)
            if not received:
                raise batch.Skip('Chromium does not run here')
            self._buffer += received
        message, self._buffer = self._buffer.split(b'\0', 1)
        return json.loads(message)

    def call(self, method, **parameters):
        self._number += 1
        message = {'id': self._number, 'method': method, 'params': parameters}
        if self._session:
            message['sessionId'] = self._session
        os.write(self._to, json.dumps(message).encode() + b'\0')
        while True:
            answer = self._receive()
            if answer.get('id') == self._number:
                assert 'error' not in answer, answer
                return answer['result']
            self.events.append(answer)

    def open(self, url):
        self.events.clear()
        self.call('Page.navigate', url=url)
        while not any(event.get('method') == 'Page.loadEventFired' for event in self.events):
            self.events.append(self._receive())

    def evaluate(self, expression):
        result = self.call('Runtime.evaluate', expression=expression, returnByValue=True)
        assert 'exceptionDetails' not in result, result
        return result['result'].get('value')

    def look(self, width, height, scheme, file=None):
        """Sets the window's width and the colours that the user likes; takes a picture of it."""
        self.call('Emulation.setDeviceMetricsOverride', width=width, height=height, deviceScaleFactor=1, mobile=width < 600)
        self.call('Emulation.setEmulatedMedia', features=[{'name': 'prefers-color-scheme', 'value': scheme}])
        if file:
            picture = self.call('Page.captureScreenshot', format='png')
            file.write_bytes(base64.b64decode(picture['data']))

    def faults(self):
        """What the page has complained of, and what it has loaded beside itself."""
        found = []
        for event in self.events:
            method, parameters = event.get('method'), event.get('params', {})
            if method in ('Runtime.exceptionThrown', 'Runtime.consoleAPICalled', 'Log.entryAdded'):
                found.append(parameters)
            if method == 'Network.requestWillBeSent' and not parameters['request']['url'].startswith(('file:', 'data:')):
                found.append(parameters['request']['url'])
        return found
