// The names of reports in the archive of a day.
import {describe, expect, it} from 'vitest';
import type {File} from '../../src/api/client';
import {archiveNames} from '../../src/model/reports';

const report = (operator: string, name: string) => ({operator, day: '2026-05-01', file: {name} as File});

describe('the names in the archive of a day', () => {
  it('are in a folder of the operator, and none is there twice', () => {
    expect(archiveNames([report('olga', 'job.zip'), report('olga', 'JOB.zip'), report('piet', 'job.zip'), report('olga', 'job')]))
      .toEqual(['olga/job.zip', 'olga/JOB (2).zip', 'piet/job.zip', 'olga/job']);
  });

  it('stay in their folder', () => {
    expect(archiveNames([report('../x', 'job.zip'), report('..', 'evil.zip'), report('.', '..')]))
      .toEqual(['.._x/job.zip', '__/evil.zip', '_/__']);
  });

  it('are names that Windows takes', () => {
    const names = ['a<b>:"|?*.zip', 'tab\t.zip', 'job.zip. .', 'CON', 'nul.zip', 'com1 .zip', 'console.zip', ''];
    expect(archiveNames(names.map((name) => report('aux', name)))).toEqual(
      ['a_b______.zip', 'tab_.zip', 'job.zip___', '_CON', '_nul.zip', '_com1 .zip', 'console.zip', '_'].map((name) => `_aux/${name}`));
  });

  it('stay apart if they become equal', () => {
    expect(archiveNames([report('a:b', 'x?.zip'), report('a:b', 'x*.zip'), report('a|b', 'x?.zip'), report('a:b', 'y.zip')]))
      .toEqual(['a_b/x_.zip', 'a_b/x_ (2).zip', 'a_b (2)/x_.zip', 'a_b/y.zip']);
  });
});
