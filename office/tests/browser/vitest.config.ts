// The tests in a real browser, against a real service. They share one service and run one after the other.
import {defineConfig} from 'vitest/config';

export default defineConfig({
  test: {
    include: ['tests/browser/**/*.test.ts'],
    fileParallelism: false,
    testTimeout: 60_000, // ends only a test that hangs
    hookTimeout: 60_000,
  },
});
