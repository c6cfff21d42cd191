"""What the tests of the whole share: a service with a farm, consoles on it, a link that misbehaves on command."""
