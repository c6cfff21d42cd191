// The texts on every map.
import type {MapTexts} from '../map/canvas';
import {t} from '../texts';

export const mapTexts = (): MapTexts => ({in: t('map.in'), out: t('map.out'), tilesMissing: t('map.tilesMissing')});
