"""What the tests of the packages share."""
