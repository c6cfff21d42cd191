// Prints a line for each step of the tour, as the operator's tour does.
import type {Reporter, TestCase, TestModule} from 'vitest/node';

export default class Steps implements Reporter {
  private done = 0;
  private failed = 0;

  onTestCaseResult(test: TestCase): void {
    const {name} = test;
    const {state, errors} = test.result();
    if (state === 'passed') {
      ++this.done;
      console.log(`ok  ${name}`);
    } else {
      ++this.failed;
      console.log(`FAILED ${name}: ${errors?.[0]?.message.split('\n')[0] ?? 'did not run'}`);
    }
  }

  onTestModuleEnd(module: TestModule): void {
    for (const {message} of module.errors()) console.log(`FAILED ${message.split('\n')[0]}`);
  }

  onTestRunEnd(): void {
    console.log(`${this.done} steps of the office ok, ${this.failed} failed`);
  }
}
