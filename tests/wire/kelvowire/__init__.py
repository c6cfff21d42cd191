"""What the wire tests share: the written API, the service as a process, an HTTP client, an event stream, a farm."""
