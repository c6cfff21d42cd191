"""Plants mutants in a copy of the tree and runs the tests that must fail with them."""
