// The values of treatment zones: their names, units and scales.
import type {DeviceProcessData, ExtendedDeviceElement, Product, TreatmentZone, ValuePresentation} from 'isoxml';
import * as utils from 'isoxml/dist_es/utils';
import {shownUnit} from './units';

export interface Quantity {
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

/** A zone without values gets one quantity without name and unit. */
export function quantitiesOf(zone: TreatmentZone | undefined): Quantity[] {
  const variables = zone?.attributes.ProcessDataVariable ?? [];
  if (variables.length === 0) return [{name: '', unit: '', value: NaN, shownValue: (raw) => raw}];
  return variables.map(({attributes}) => {
    const presentation = attributes.ValuePresentationIdRef?.entity as ValuePresentation | undefined;
    const element = attributes.DeviceElementIdRef?.entity as ExtendedDeviceElement | undefined;
    const product = attributes.ProductIdRef?.entity as Product | undefined;
    const info = informationOf(attributes.ProcessDataDDI, presentation,
      element?.getDataProcess?.(attributes.ProcessDataDDI));
    const {unit, shownValue} = scaled(info);
    const name = [product?.attributes.ProductDesignator, plainName(info.DDEntityName)].filter(Boolean).join(': ');
    return {name: name || attributes.ProcessDataDDI, unit, value: shownValue(attributes.ProcessDataValue), shownValue};
  });
}
