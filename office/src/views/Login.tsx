// The login form.
import {useSignal} from '@preact/signals';
import {ServiceError} from '../api/client';
import {isEnded, logIn} from '../model/session';
import {refusalText, t} from '../texts';

export function Login() {
  const error = useSignal('');
  const isBusy = useSignal(false);
  const submit = async (event: SubmitEvent) => {
    event.preventDefault();
    const fields = new FormData(event.target as HTMLFormElement);
    isBusy.value = true;
    error.value = '';
    try {
      await logIn(String(fields.get('user')), String(fields.get('password')));
    } catch (problem) {
      error.value = loginError(problem);
    }
    isBusy.value = false;
  };
  return (
    <form class="login" onSubmit={submit}>
      <h1>{t('title')}</h1>
      {isEnded.value && <p role="status">{t('login.ended')}</p>}
      <label>
        {t('login.user')}
        <input name="user" autocomplete="username" autocapitalize="none" required autofocus />
      </label>
      <label>
        {t('login.password')}
        <input name="password" type="password" autocomplete="current-password" required />
      </label>
      <p class="error" role="alert">{error}</p>
      <button class="main" disabled={isBusy}>{t('login.do')}</button>
    </form>
  );
}

function loginError(error: unknown): string {
  if (!(error instanceof ServiceError)) throw error;
  switch (error.kind) {
    case 'invalid-credentials':
      return t('login.wrong');
    case 'account-disabled':
      return t('login.disabled');
    case 'login-throttled':
      return t('login.throttled', {seconds: error.retryAfterS ?? 60});
    default:
      return refusalText(error.problem);
  }
}
