// Texts, numbers and times in the language of the browser.
import {kindOf, type Problem} from '../api/client';
import type en from './en.json';

export type TextKey = keyof typeof en;
type Texts = Record<TextKey, string>;

/** Reads the texts of each language. A missing text is an error of the compiler. */
const languages: Readonly<Record<string, () => Promise<{default: Texts}>>> = {
  en: () => import('./en.json'),
  de: () => import('./de.json'),
  es: () => import('./es.json'),
  fr: () => import('./fr.json'),
  pl: () => import('./pl.json'),
  'pt-BR': () => import('./pt_br.json'),
};

export const language = chooseLanguage(navigator.languages);
const texts = (await (languages[language] as () => Promise<{default: Texts}>)()).default;

/** Numbers and times as the browser's region writes them. */
export const locale = navigator.languages.find((each) => each.split('-')[0] === language.split('-')[0]) ?? language;

/** The first language of the list that the page has, by its full name or its first part. Otherwise English. */
export function chooseLanguage(wanted: readonly string[]): string {
  for (const each of wanted) {
    const found = Object.keys(languages).find((known) =>
      known === each || known.split('-')[0] === each.split('-')[0]);
    if (found) return found;
  }
  return 'en';
}

/** The text with `{name}` replaced by each value. */
export function t(key: TextKey, values: Readonly<Record<string, string | number>> = {}): string {
  return texts[key].replace(/\{(\w+)\}/g, (whole, name: string) => isolated(String(values[name] ?? whole)));
}

/** A name that is written from right to left must not turn the words around it. */
const isolated = (value: string): string =>
  /[\u0590-\u08ff\u200e\u200f\u202a-\u202e\u2066-\u2069\ufb1d-\ufefc]/.test(value) ? `\u2068${value}\u2069` : value;

/** The name of a project as the farm office calls it. */
export function projectName(name: string): string {
  const key = `project.${name}`;
  return key in texts ? t(key as TextKey) : name;
}

/** Why the service refused: by the problem's sentence or its kind, otherwise in the service's own words. */
export function refusalText(problem: Problem | undefined): string {
  if (!problem) return t('error.noAnswer');
  const {detail} = problem;
  const known = [`problem.${detail}`, `problem.${kindOf(problem)}`].find((key) => key in texts) ?? 'problem.other';
  return t(known as TextKey, {detail});
}

const units = ['byte', 'kilobyte', 'megabyte', 'gigabyte'] as const;

/** For example "1.2 MB". */
export function sizeText(bytes: number): string {
  const power = Math.min(Math.floor(Math.log10(Math.max(bytes, 1)) / 3), units.length - 1);
  const style = {style: 'unit', unit: units[power] as string, maximumFractionDigits: power > 0 ? 1 : 0};
  return new Intl.NumberFormat(locale, style as Intl.NumberFormatOptions).format(bytes / 1000 ** power);
}

const decimals = new Intl.NumberFormat(locale, {maximumSignificantDigits: 4});

/** A number with at most four digits that matter. */
export const numberText = (value: number): string => decimals.format(value);

const counts = new Intl.NumberFormat(locale);

export const countText = (count: number): string => counts.format(count);

const percents = new Intl.NumberFormat(locale, {style: 'percent', maximumFractionDigits: 1});

/** Rounded down, so that only a full quota has 100 %. */
export const percentText = (share: number): string => percents.format(Math.floor(share * 1000) / 1000);

const dateAndTime = new Intl.DateTimeFormat(locale, {dateStyle: 'medium', timeStyle: 'short'});
const timeOnly = new Intl.DateTimeFormat(locale, {timeStyle: 'short'});

export function dateText(time: string | number): string {
  return dateAndTime.format(new Date(time));
}

export function timeText(milliseconds: number): string {
  return timeOnly.format(new Date(milliseconds));
}
