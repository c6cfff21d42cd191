// A dialog that asks for some values, and stays open until the service has taken them.
import {useSignal} from '@preact/signals';
import {useEffect, useRef} from 'preact/hooks';
import {ServiceError} from '../api/client';
import {refusalText, t} from '../texts';

export interface Field {
  name: string;
  label: string;
  type?: 'text' | 'password';
  value?: string;
  autocomplete?: string;
  minLength?: number;
  /** The values to choose from, each with its text. */
  options?: readonly (readonly [string, string])[];
}

export interface Question {
  title: string;
  text?: string;
  fields: readonly Field[];
  doText: string;
  /** Throws ServiceError; its words are shown. */
  onDo: (values: Record<string, string>) => Promise<void>;
}

export function Ask({question: {title, text, fields, doText, onDo}, onEnd}: {question: Question; onEnd: () => void}) {
  const box = useRef<HTMLDialogElement>(null);
  const error = useSignal('');
  const isBusy = useSignal(false);
  useEffect(() => box.current?.showModal(), []);
  const submit = async (event: SubmitEvent) => {
    event.preventDefault();
    isBusy.value = true;
    try {
      await onDo(Object.fromEntries(new FormData(event.target as HTMLFormElement)) as Record<string, string>);
      box.current?.close();
    } catch (problem) {
      if (!(problem instanceof ServiceError)) throw problem;
      error.value = refusalText(problem.problem);
    } finally {
      isBusy.value = false;
    }
  };
  return (
    <dialog class="ask" ref={box} aria-label={title} onClose={onEnd}>
      <form onSubmit={submit}>
        <h2>{title}</h2>
        {text && <p>{text}</p>}
        {fields.map((field) => <FieldRow key={field.name} field={field} />)}
        <p class="error" role="alert">{error}</p>
        <div class="bar end">
          <button type="button" onClick={() => box.current?.close()}>{t('ask.cancel')}</button>
          <button class="main" disabled={isBusy}>{doText}</button>
        </div>
      </form>
    </dialog>
  );
}

function FieldRow({field: {name, label, type = 'text', value = '', autocomplete = 'off', minLength = 1, options}}: {field: Field}) {
  const all = {name, defaultValue: value, autocomplete, minLength, required: true};
  return (
    <label class="field">
      {label}
      {options
        ? <select name={name}>{options.map(([key, text]) => <option key={key} value={key}>{text}</option>)}</select>
        : type === 'password' ? <input type="password" {...all} /> : <input {...all} />}
    </label>
  );
}
