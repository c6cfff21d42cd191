// The values of treatment zones: their names, units and scales.
import type {DeviceProcessData, ExtendedDeviceElement, Product, TreatmentZone, ValuePresentation} from 'isoxml';
import * as utils from 'isoxml/dist_es/utils';
import {shownUnit} from './units';

export interface Quantity {
  /** Two zones use the same key for the same quantity. */
  key: string;
  name: string;
  unit: string;
  /** The zone's own value, as shown. */
  value: number;
  /** The value of an integer of the file, as shown. */
  shownValue(raw: number): number;
}

interface Scaled {
  DDEntityName: string;
  unit: string;
  scale: number;
  offset: number;
}

// The package declares its types twice, so the compiler takes them for different types.
const informationOf = utils.constructValueInformation as unknown as
  (ddi: string, presentation?: ValuePresentation, process?: DeviceProcessData) => Scaled;

export function scaled({unit, scale, offset}: Scaled): {unit: string; shownValue(raw: number): number} {
  const [factor, name] = shownUnit(unit);
  return {unit: name, shownValue: (raw) => (raw + (offset || 0)) * scale * factor};
}

/** The name of a value without its unit. */
export const plainName = (name: string): string => name.replace(/ as \[.*\]$/, '');

/** Each quantity of the zones, with its value in each zone, NaN without a value. Two zones can have another order. */
export function valuesByZone(zones: readonly TreatmentZone[]): {quantity: Quantity; values: number[]}[] {
  const ofZones = zones.map((zone) => new Map(quantitiesOf(zone).map((quantity) => [quantity.key, quantity])));
  const all = new Map(ofZones.flatMap((each) => [...each]));
  if (all.size > 1) all.delete(unnamed.key);
  return [...all].map(([key, quantity]) => ({quantity, values: ofZones.map((each) => each.get(key)?.value ?? NaN)}));
}

const unnamed: Quantity = {key: '', name: '', unit: '', value: NaN, shownValue: (raw) => raw};

/** A zone without values gets one quantity without name and unit. */
export function quantitiesOf(zone: TreatmentZone | undefined): Quantity[] {
  const variables = zone?.attributes.ProcessDataVariable ?? [];
  if (variables.length === 0) return [unnamed];
  const keys = new Set<string>();
  return variables.map(({attributes}) => {
    const presentation = attributes.ValuePresentationIdRef?.entity as ValuePresentation | undefined;
    const element = attributes.DeviceElementIdRef?.entity as ExtendedDeviceElement | undefined;
    const product = attributes.ProductIdRef?.entity as Product | undefined;
    const info = informationOf(attributes.ProcessDataDDI, presentation,
      element?.getDataProcess?.(attributes.ProcessDataDDI));
    const {unit, shownValue} = scaled(info);
    const name = [product?.attributes.ProductDesignator, plainName(info.DDEntityName)].filter(Boolean).join(': ');
    let key = [attributes.ProcessDataDDI, attributes.DeviceElementIdRef?.xmlId, attributes.ProductIdRef?.xmlId, unit].join(' ');
    while (keys.has(key)) key += ' again';
    keys.add(key);
    return {key, name: name || attributes.ProcessDataDDI, unit, value: shownValue(attributes.ProcessDataValue), shownValue};
  });
}
