// Texts, numbers and places of the page.
import {describe, expect, it} from 'vitest';
import type {Problem} from '../../src/api/client';
import {chooseLanguage, dateText, numberText, projectName, refusalText, sizeText, t} from '../../src/texts';
import de from '../../src/texts/de.json';
import en from '../../src/texts/en.json';
import es from '../../src/texts/es.json';
import fr from '../../src/texts/fr.json';
import pl from '../../src/texts/pl.json';
import ptBr from '../../src/texts/pt_br.json';
import {placeOf} from '../../src/views/place';

const languages: Record<string, Record<string, string>> = {en, de, es, fr, pl, 'pt-BR': ptBr};

const placeholders = (text: string) => [...text.matchAll(/\{\w+\}/g)].map(([name]) => name).sort();

describe('the texts', () => {
  it.each(Object.keys(languages))('of %s are complete and have the same values', (name) => {
    const english = en as Record<string, string>;
    const texts = languages[name] as Record<string, string>;
    expect(Object.keys(texts).sort()).toEqual(Object.keys(english).sort());
    for (const [key, text] of Object.entries(texts)) {
      expect(text, key).not.toBe('');
      expect(placeholders(text), key).toEqual(placeholders(english[key] as string));
    }
  });

  it('have dates as the region of the browser writes them', () => {
    expect(dateText('2026-05-17T12:00:00Z')).toMatch(/^17 May 2026/); // The language is English, the region is Great Britain.
  });

  it('are in the first language of the browser that the page has', () => {
    expect(chooseLanguage(['nl', 'fr-CA', 'de'])).toBe('fr');
    expect(chooseLanguage(['pt-PT'])).toBe('pt-BR');
    expect(chooseLanguage(['nl'])).toBe('en');
    expect(chooseLanguage([])).toBe('en');
  });

  it('name a refusal by its sentence or its kind, and otherwise quote the service', () => {
    const refusal = (kind: string, detail: string) => refusalText({type: `urn:kelvo:problem:${kind}`, detail} as Problem);
    expect(refusal('forbidden', 'The current password is wrong.')).toBe(en['problem.The current password is wrong.']);
    expect(refusal('quota-exceeded', 'The quota of bytes of the farm is used up.')).toBe('The farm has no space left.');
    expect(refusal('not-found', 'No user has this id.')).toBe('This no longer exists.');
    expect(refusal('internal', 'Something else.')).toBe(en['problem.internal']);
    expect(refusal('conflict', 'Something else.')).toBe('Something else.');
    expect(refusalText(undefined)).toBe('The service does not answer. Try again later.');
  });

  it('translate only sentences and kinds that the service has', () => {
    const service = Object.values(import.meta.glob('../../../service/{api,http,store}/*.cpp', {query: '?raw', import: 'default', eager: true})).join('\n');
    const composed = ['farm', "inbox's owner"].map((whose) => service.replaceAll('" + whose + "', whose)).join('\n').replace(/"\n\s*"/g, '');
    const known = Object.keys(en).filter((key) => key.startsWith('problem.') && key !== 'problem.other');
    expect(known.length).toBeGreaterThan(5);
    for (const key of known) expect(composed).toContain(JSON.stringify(key.slice('problem.'.length)));
  });

  it('show a value as it is', () => {
    expect(t('files.deleted', {name: '{name} <b>'})).toBe('{name} <b> is in the bin.');
  });

  it('name the projects, and keep an unknown name', () => {
    expect(projectName('From Console')).toBe('Job reports');
    expect(projectName('Other')).toBe('Other');
  });

  it('keep their order around a name that is written from right to left', () => {
    expect(t('files.deleted', {name: 'a.zip'})).toBe('a.zip is in the bin.');
    expect(t('files.deleted', {name: '\u202epiz.a'})).toBe('\u2068\u202epiz.a\u2069 is in the bin.');
  });

  it('show sizes with a unit', () => {
    expect([0, 999, 1000, 1_234_567, 5e9].map(sizeText)).toEqual(['0 byte', '999 byte', '1 kB', '1.2 MB', '5 GB']);
  });
});

describe('numbers', () => {
  it('have four digits that matter', () => {
    expect([1234.567, 0.00123456, 150].map(numberText)).toEqual(['1,235', '0.001235', '150']);
  });
});

describe('the address', () => {
  it('names a view and an inbox', () => {
    expect(placeOf('#/files/10')).toEqual({view: 'files', id: 10});
    expect(placeOf('#/map/55')).toEqual({view: 'map', id: 55});
    expect(placeOf('#/bin')).toEqual({view: 'bin', id: undefined});
  });

  it('that is wrong leads to the files', () => {
    for (const hash of ['', '#/nothing', '#/files/-1', '#/files/1e3', '#/files/<b>']) {
      expect(placeOf(hash)).toEqual({view: 'files', id: undefined});
    }
  });
});
