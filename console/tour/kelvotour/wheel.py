"""The console's window, operated with the wheel alone: its steps, its button, and Back. A keyboard enters texts."""

from .window import Window, WindowError

MOST_STEPS = 100  # more steps than any screen has places for the focus


class WheelWindow(Window):
    """Has the operations of Window. Never touches the screen."""
    is_wheel = True

    def do(self, verb, **arguments):
        by_wheel = {"press": self._press, "type": self._type, "touch": self._select, "open": self._open}.get(verb)
        return by_wheel(**arguments) if by_wheel else super().do(verb, **arguments)

    def key(self, key, times=1):
        for _ in range(times):
            super().do("key", key=key)

    def turn_until(self, reached, what):
        """Turns the wheel until `reached(screen)` is true: first forward, then backward."""
        for key in ("Down", "Up"):
            for _ in range(MOST_STEPS):
                if reached(self.look()):
                    return
                self.key(key)
        raise WindowError(f"the wheel does not reach {what}")

    def turn_to(self, kind, name):
        self.turn_until(lambda screen: (screen.focus["kind"], screen.focus["name"]) == (kind, name), name)

    def _press(self, button):
        self.turn_to("button", button)
        self.key("Return")

    def take(self, row, choice):
        self.turn_until(lambda screen: screen.row(row)["value"] == choice, choice)
        self.key("Return")

    def _open(self, row):
        """Starts the editing of the row."""
        self.turn_to("row", row)
        self.key("Return")

    def _type(self, row, text):
        self._open(row)
        super().do("enter", text=text)
        self.key("Escape")

    def _select(self, name):
        self.turn_to("list", "")
        self.key("Return")
        self.turn_until(lambda screen: screen.focus.get("current") == name, name)
        self.key("Return")
        self.key("Escape")
