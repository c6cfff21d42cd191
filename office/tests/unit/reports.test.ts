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
    expect(archiveNames([report('../x', 'job.zip')])).toEqual(['.._x/job.zip']);
  });
});
