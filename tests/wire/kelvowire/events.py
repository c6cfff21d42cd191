"""Reads GET /events on its own connection and checks each event against the written API."""

import collections
import http.client
import json
import queue
import socket
import threading

from .contract import BASE
from .http import CONTRACT, TIMEOUT

Event = collections.namedtuple("Event", "id name data")
END = object()


class EventStream:
    """Connects at once and returns after the first comment; events wait in a queue. Use it as a context manager."""

    def __init__(self, client, cursor=None, query=None, headers=None):
        service = client.service
        self._connection = http.client.HTTPSConnection("localhost", service.port, timeout=TIMEOUT, context=service.tls())
        headers = client.headers({"Last-Event-ID": cursor, "Accept": "text/event-stream", **(headers or {})})
        target = BASE + "/events" + (f"?cursor={query}" if query is not None else "")
        self._connection.request("GET", target, headers=headers)
        self._socket = self._connection.sock
        self._response = self._connection.getresponse()
        if self._response.status != 200:
            raise AssertionError(f"no event stream: {self._response.status} {self._response.read()!r}")
        CONTRACT.check_answer("GET", target, 200, self._response.headers, None)
        media = self._response.headers["Content-Type"].split(";")[0]
        if media != "text/event-stream":
            raise AssertionError(f"an event stream of type {media}")
        self._items = queue.Queue()
        self.comments = queue.Queue()
        self.last_id = int(cursor or query or 0)
        self._thread = threading.Thread(target=self._read, daemon=True)
        self._thread.start()
        first = self.comments.get(timeout=TIMEOUT)
        if first.strip() != "connected":
            raise AssertionError(f"the stream began with the comment {first!r}")

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()

    def close(self):
        try:
            self._socket.shutdown(socket.SHUT_RDWR)
        except OSError:
            pass
        self._thread.join(TIMEOUT)
        self._connection.close()

    def _read(self):
        fields = {}
        try:
            for line in iter(self._response.readline, b""):
                fields = self._line(line.decode().rstrip("\r\n"), fields)
        except (OSError, http.client.HTTPException, ValueError):
            pass  # Cut by this side or by the service.
        except AssertionError as failure:
            self._items.put(failure)
        self._items.put(END)

    def _line(self, line, fields):
        if line.startswith(":"):
            self.comments.put(line[1:])
        elif line:
            name, _, value = line.partition(": ")
            if name in fields or name not in ("id", "event", "data"):
                raise AssertionError(f"an unexpected line in the stream: {line!r}")
            fields[name] = value
        elif fields:
            self._items.put(self._event(fields))
            return {}
        return fields

    def _event(self, fields):
        data = json.loads(fields["data"])
        schemas = CONTRACT.document["paths"]["/events"]["get"]["x-kelvo-events"]
        if fields["event"] not in schemas:
            raise AssertionError(f"an undocumented event: {fields}")
        CONTRACT.check(schemas[fields["event"]], data, "event " + fields["event"])
        number = fields.get("id")
        if (number is None) != (fields["event"] == "session-ended"):
            raise AssertionError(f"only session-ended has no id: {fields}")
        if number is not None:
            if int(number) <= self.last_id:
                raise AssertionError(f"event {number} after {self.last_id}")
            self.last_id = int(number)
        return Event(number, fields["event"], data)

    def next(self):
        """The next event, END when the stream is closed."""
        item = self._items.get(timeout=TIMEOUT)
        if isinstance(item, AssertionError):
            raise item
        return item

    def expect(self, name):
        event = self.next()
        if event is END or event.name != name:
            raise AssertionError(f"expected {name}, got {event if event is not END else 'the end of the stream'}")
        return event
