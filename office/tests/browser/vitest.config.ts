// The tests in a real browser, against a real service. The tests of a file share a service and run one after the other.
import {defineConfig} from 'vitest/config';

export default defineConfig({
  test: {
    include: ['tests/browser/**/*.test.ts'],
    maxWorkers: 4, // twice the processors, because many tests wait for the link or the service
    testTimeout: 60_000, // ends only a test that hangs
    hookTimeout: 60_000,
  },
});
