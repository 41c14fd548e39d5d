(** Facts of arithmetic and bits. *)

From Coq Require Import ZArith Zquot Bool Lia Setoid Morphisms.
From Quarv Require Import Bv.
Local Open Scope Z_scope.

(** ** Unfolding a statement *)

Lemma bv_eq : forall w w' x x', w = w' -> x = x' -> make_bv w x = make_bv w' x'.
Proof. intros; subst; reflexivity. Qed.

(** The powers of 2 that occur are positive; kept apart from [2 ^ w] so that [lia] need not see the exponent. *)
Lemma pow2_pos : forall w, 0 <= w -> 0 < 2 ^ w.
Proof. intros; apply Z.pow_pos_nonneg; lia. Qed.

Lemma pow2_ge_2 : forall w, 0 < w -> 2 <= 2 ^ w.
Proof. intros; change 2 with (2 ^ 1) at 1; apply Z.pow_le_mono_r; lia. Qed.

Lemma pow2_gt : forall w, 0 <= w -> w < 2 ^ w.
Proof. intros; apply Z.pow_gt_lin_r; lia. Qed.

(** ** Modular arithmetic *)

(** Sums and differences of numbers below M, without [mod]. *)
Lemma mod_add_cases : forall a b M, 0 <= a < M -> 0 <= b < M ->
  (a + b) mod M = a + b /\ a + b < M \/ (a + b) mod M = a + b - M /\ M <= a + b.
Proof.
  intros a b M Ha Hb. destruct (Z_lt_le_dec (a + b) M).
  - left; split; [apply Z.mod_small|]; lia.
  - right; split; [|lia]. symmetry; apply (Z.mod_unique _ _ 1); lia.
Qed.

Lemma mod_sub_cases : forall a b M, 0 <= a < M -> 0 <= b < M ->
  (a - b) mod M = a - b /\ b <= a \/ (a - b) mod M = a - b + M /\ a < b.
Proof.
  intros a b M Ha Hb. destruct (Z_lt_le_dec a b).
  - right; split; [|lia]. symmetry; apply (Z.mod_unique _ _ (-1)); lia.
  - left; split; [apply Z.mod_small|]; lia.
Qed.

Lemma neg_mod_cases : forall b M, 0 <= b < M ->
  (M - b) mod M = 0 /\ b = 0 \/ (M - b) mod M = M - b /\ 0 < b.
Proof.
  intros b M Hb. destruct (Z.eq_dec b 0) as [->|].
  - left. rewrite Z.sub_0_r, Z_mod_same_full. auto.
  - right; split; [apply Z.mod_small|]; lia.
Qed.

Lemma neg_mod : forall b M, 0 < M -> (M - b) mod M = (- b) mod M.
Proof. intros. rewrite <- (Z_mod_plus_full (- b) 1 M). f_equal; lia. Qed.

(** The product with all ones. *)
Lemma ones_mul_mod : forall b M, 0 < M -> ((M - 1) * b) mod M = (- b) mod M.
Proof. intros. rewrite <- (Z_mod_plus_full (- b) b M). f_equal; lia. Qed.

Lemma lnot_mod : forall x w, 0 <= w -> 0 <= x < 2 ^ w -> Z.lnot x mod 2 ^ w = 2 ^ w - 1 - x.
Proof.
  intros. unfold Z.lnot. rewrite <- (Z_mod_plus_full _ 1).
  rewrite Z.mod_small; unfold Z.pred; lia.
Qed.

(** Congruence, by which [mod] and multiples of M are rewritten away inside of sums and products. *)
Definition congruent (M a b : Z) : Prop := a mod M = b mod M.

#[export] Instance congruent_equivalence : forall M, Equivalence (congruent M).
Proof. intros M. unfold congruent. split; red; intros; congruence. Qed.

#[export] Instance congruent_add : forall M, Proper (congruent M ==> congruent M ==> congruent M) Z.add.
Proof. intros M a b E c d F. unfold congruent in *. rewrite Zplus_mod, E, F, <- Zplus_mod. reflexivity. Qed.

#[export] Instance congruent_sub : forall M, Proper (congruent M ==> congruent M ==> congruent M) Z.sub.
Proof. intros M a b E c d F. unfold congruent in *. rewrite Zminus_mod, E, F, <- Zminus_mod. reflexivity. Qed.

#[export] Instance congruent_mul : forall M, Proper (congruent M ==> congruent M ==> congruent M) Z.mul.
Proof. intros M a b E c d F. unfold congruent in *. rewrite Zmult_mod, E, F, <- Zmult_mod. reflexivity. Qed.

#[export] Instance congruent_opp : forall M, Proper (congruent M ==> congruent M) Z.opp.
Proof. intros M a b E. rewrite <- !Z.sub_0_l, E. reflexivity. Qed.

(** [mod] as a function of the dividend, so that it can be rewritten under it. *)
Definition residue (M a : Z) : Z := a mod M.

#[export] Instance congruent_residue_morphism : forall M, Proper (congruent M ==> congruent M) (residue M).
Proof. intros M a b E. unfold congruent, residue in *. rewrite E. reflexivity. Qed.

Lemma congruent_residue : forall M a, congruent M (residue M a) a.
Proof. intros. apply Zmod_mod. Qed.

Lemma congruent_neg : forall M a, congruent M (M - a) (- a).
Proof. intros. unfold congruent. rewrite <- (Z_mod_plus_full (- a) 1 M). f_equal; lia. Qed.

Lemma congruent_lnot : forall M a, congruent M (Z.lnot a) (- a - 1).
Proof. reflexivity. Qed.

Lemma congruent_eq : forall M a b, a = b -> congruent M a b.
Proof. intros; subst; reflexivity. Qed.

Lemma ones_mod : forall M, 1 < M -> (-1) mod M = M - 1.
Proof. intros. symmetry; apply (Z.mod_unique _ _ (-1)); lia. Qed.

Lemma eqb_diff : forall a b M, 0 <= a < M -> 0 <= b < M -> (a =? b) = ((a - b) mod M =? 0).
Proof. intros a b M Ha Hb. destruct (mod_sub_cases a b M Ha Hb) as [[E ?]|[E ?]]; rewrite E; lia. Qed.

Lemma eqb_opp : forall a M, (a mod M =? 0) = ((- a) mod M =? 0).
Proof.
  intros a M. apply eq_true_iff_eq. rewrite !Z.eqb_eq. split; intros.
  - apply Z_mod_zero_opp_full; auto.
  - rewrite <- (Z.opp_involutive a). apply Z_mod_zero_opp_full; auto.
Qed.

(** ** Bits *)

Lemma bit_mod : forall a n i, 0 <= n -> Z.testbit (a mod 2 ^ n) i = (i <? n) && Z.testbit a i.
Proof.
  intros a n i Hn. destruct (Z.ltb_spec i n).
  - destruct (Z_lt_le_dec i 0); [rewrite !Z.testbit_neg_r; auto|].
    rewrite Z.mod_pow2_bits_low; auto.
  - rewrite Z.mod_pow2_bits_high; auto; lia.
Qed.

Lemma bit_above : forall x w i, 0 <= x < 2 ^ w -> w <= i -> Z.testbit x i = false.
Proof.
  intros x w i Hx Hi. destruct (Z_lt_le_dec w 0); [rewrite Z.pow_neg_r in Hx; lia|].
  rewrite <- (Z.mod_small x (2 ^ w)), Z.mod_pow2_bits_high; auto; lia.
Qed.

Lemma bit_div : forall a n i, 0 <= n -> 0 <= i -> Z.testbit (a / 2 ^ n) i = Z.testbit a (i + n).
Proof. intros; apply Z.div_pow2_bits; auto. Qed.

Lemma bit_mul : forall a n i, 0 <= n -> Z.testbit (a * 2 ^ n) i = Z.testbit a (i - n).
Proof. intros; apply Z.mul_pow2_bits; auto. Qed.

Lemma bit_concat : forall a b n i, 0 <= n -> 0 <= b < 2 ^ n ->
  Z.testbit (a * 2 ^ n + b) i = if i <? n then Z.testbit b i else Z.testbit a (i - n).
Proof.
  intros a b n i Hn Hb.
  assert (L : Z.land (a * 2 ^ n) b = 0).
  { apply Z.bits_inj'; intros j Hj. rewrite Z.land_spec, Z.bits_0, bit_mul by auto.
    destruct (Z_lt_le_dec j n).
    - rewrite Z.testbit_neg_r by lia. reflexivity.
    - rewrite (bit_above b n) by auto. apply andb_false_r. }
  rewrite Z.add_nocarry_lxor, Z.lxor_spec, bit_mul by auto.
  destruct (Z.ltb_spec i n).
  - rewrite Z.testbit_neg_r by lia. apply xorb_false_l.
  - rewrite (bit_above b n) by auto. apply xorb_false_r.
Qed.

Lemma bit_ones : forall w i, 0 <= w -> Z.testbit (2 ^ w - 1) i = (0 <=? i) && (i <? w).
Proof.
  intros. replace (2 ^ w - 1) with (Z.ones w) by (rewrite Z.ones_equiv; lia).
  rewrite Z.testbit_ones by auto. reflexivity.
Qed.

(** ** Ranges *)

Lemma mod_range : forall a w, 0 <= w -> 0 <= a mod 2 ^ w < 2 ^ w.
Proof. intros; apply Z.mod_pos_bound, pow2_pos; auto. Qed.

Lemma concat_range : forall a b m n, 0 <= m -> 0 <= n -> 0 <= a < 2 ^ m -> 0 <= b < 2 ^ n ->
  0 <= a * 2 ^ n + b < 2 ^ (m + n).
Proof. intros. rewrite Z.pow_add_r by auto. nia. Qed.

Lemma land_range : forall a b n, 0 <= n -> 0 <= a < 2 ^ n -> 0 <= b < 2 ^ n -> 0 <= Z.land a b < 2 ^ n.
Proof.
  intros a b n Hn Ha Hb. rewrite <- (Z.mod_small a (2 ^ n)) by auto.
  replace (Z.land (a mod 2 ^ n) b) with (Z.land a b mod 2 ^ n).
  - apply mod_range; auto.
  - apply Z.bits_inj'; intros i Hi. rewrite Z.land_spec, !bit_mod, Z.land_spec by auto.
    destruct (i <? n); auto.
Qed.

Lemma lor_range : forall a b n, 0 <= n -> 0 <= a < 2 ^ n -> 0 <= b < 2 ^ n -> 0 <= Z.lor a b < 2 ^ n.
Proof.
  intros a b n Hn Ha Hb. replace (Z.lor a b) with (Z.lor a b mod 2 ^ n).
  - apply mod_range; auto.
  - apply Z.bits_inj'; intros i Hi. rewrite bit_mod, Z.lor_spec by auto.
    destruct (Z.ltb_spec i n); auto. rewrite !(bit_above _ n) by auto. reflexivity.
Qed.

Lemma lxor_range : forall a b n, 0 <= n -> 0 <= a < 2 ^ n -> 0 <= b < 2 ^ n -> 0 <= Z.lxor a b < 2 ^ n.
Proof.
  intros a b n Hn Ha Hb. replace (Z.lxor a b) with (Z.lxor a b mod 2 ^ n).
  - apply mod_range; auto.
  - apply Z.bits_inj'; intros i Hi. rewrite bit_mod, Z.lxor_spec by auto.
    destruct (Z.ltb_spec i n); auto. rewrite !(bit_above _ n) by auto. reflexivity.
Qed.

(** ** Machine words *)

Lemma word_add_small : forall a b, 0 <= a -> 0 <= b -> a + b < word -> word_add a b = a + b.
Proof. intros; apply Z.mod_small; lia. Qed.

Lemma word_sub_small : forall a b, 0 <= b <= a -> a < word -> word_sub a b = a - b.
Proof. intros; apply Z.mod_small; lia. Qed.

(** ** Closed forms of what the standard repeats *)

Lemma iter_succ : forall A (f : A -> A) n x, 0 <= n -> Z.iter (n + 1) f x = f (Z.iter n f x).
Proof. intros A f [|p|p] x H; [reflexivity| |lia]. cbn. rewrite Pos.add_1_r. apply Pos.iter_succ. Qed.

Lemma iter_add : forall A (f : A -> A) m n x, 0 <= m -> 0 <= n ->
  Z.iter (m + n) f x = Z.iter m f (Z.iter n f x).
Proof.
  intros A f m n x Hm. revert n. pattern m. apply natlike_ind; [auto| |auto]; clear m Hm.
  intros m Hm IH n Hn. replace (Z.succ m + n) with (m + n + 1) by lia.
  unfold Z.succ. rewrite !iter_succ, IH by lia. reflexivity.
Qed.

(** Bits of one kind. *)
Lemma repeat_bit : forall i (b : bool), 0 < i ->
  repeat i (make_bv 1 (nat_of_bit b)) = make_bv i (if b then 2 ^ i - 1 else 0).
Proof.
  intros i b Hi. unfold repeat. set (n := i - 1). replace i with (n + 1) by lia.
  assert (Hn : 0 <= n) by lia. clearbody n; clear i Hi.
  pattern n. apply natlike_ind; [destruct b; reflexivity| |auto]; clear n Hn.
  - intros n Hn IH. unfold Z.succ. rewrite iter_succ, IH by lia. unfold concat; cbn [width bv2nat].
    apply bv_eq; [lia|]. rewrite !Z.pow_add_r by lia. destruct b; unfold nat_of_bit; lia.
Qed.

Lemma zero_extend_eq : forall n t, 0 <= n -> zero_extend n t = make_bv (width t + n) (bv2nat t).
Proof.
  intros n [w x] Hn. unfold zero_extend. destruct (Z.eqb_spec n 0) as [->|].
  - cbn. apply bv_eq; lia.
  - change (make_bv 1 0) with (make_bv 1 (nat_of_bit false)). rewrite repeat_bit by lia.
    unfold concat; cbn. apply bv_eq; lia.
Qed.

Lemma extract_bit : forall i t, 0 <= i -> extract i i t = make_bv 1 (nat_of_bit (bit i t)).
Proof.
  intros i t Hi. unfold extract, nat2bv. replace (i - i + 1) with 1 by lia. apply bv_eq; auto.
  apply Z.bits_inj'; intros j Hj. rewrite bit_mod, bit_div by lia.
  unfold bit. destruct (Z.ltb_spec j 1).
  - replace j with 0 by lia. rewrite Z.add_0_l. destruct (Z.testbit _ i); reflexivity.
  - unfold nat_of_bit. destruct (Z.testbit _ i); [|symmetry; apply Z.testbit_0_l].
    symmetry. apply (bit_above 1 1); lia.
Qed.

(** ** Equality of bit-vectors *)

(** Values in range that agree on the bits below the width. *)
Definition in_range (s : bv) : Prop := 0 < width s /\ 0 <= bv2nat s < 2 ^ width s.

Lemma value_ext : forall w x y, 0 <= x < 2 ^ w -> 0 <= y < 2 ^ w ->
  (forall i, 0 <= i < w -> Z.testbit x i = Z.testbit y i) -> x = y.
Proof.
  intros w x y Hx Hy E. apply Z.bits_inj'; intros i Hi. destruct (Z_lt_le_dec i w); auto.
  rewrite !(bit_above _ w) by auto. reflexivity.
Qed.

Lemma bv_ext : forall s t, in_range s -> in_range t -> width s = width t ->
  (forall i, 0 <= i < width s -> bit i s = bit i t) -> s = t.
Proof.
  intros [w x] [w' y] [_ Hx] [_ Hy] W E. cbn [width bv2nat] in *. subst w'.
  f_equal. apply (value_ext w); auto.
Qed.

Lemma bveq_iff : forall s t, width s = width t -> bveq s t = true <-> s = t.
Proof.
  intros [w x] [w' y] W. cbn in W. subst w'. unfold bveq. cbn [bv2nat]. rewrite Z.eqb_eq.
  split; intro E; [subst; reflexivity | injection E; auto].
Qed.

Lemma nat_of_bit_range : forall b, 0 <= nat_of_bit b < 2 ^ 1.
Proof. intros []; cbn; lia. Qed.

Lemma bit_nat_of_bit : forall b, Z.testbit (nat_of_bit b) 0 = b.
Proof. intros []; reflexivity. Qed.

Lemma nat_of_bit_eqb_1 : forall b, (nat_of_bit b =? 1) = b.
Proof. intros []; reflexivity. Qed.

Lemma nat_of_bit_eqb_0 : forall b, (nat_of_bit b =? 0) = negb b.
Proof. intros []; reflexivity. Qed.

(** ** Two's complement *)

Definition signed (w x : Z) : Z := if Z.testbit x (w - 1) then x - 2 ^ w else x.

Lemma pow2_half : forall w, 0 < w -> 2 ^ w = 2 * 2 ^ (w - 1).
Proof. intros. rewrite <- Z.pow_succ_r by lia. f_equal; lia. Qed.

Lemma msb : forall w x, 0 < w -> 0 <= x < 2 ^ w -> Z.testbit x (w - 1) = (2 ^ (w - 1) <=? x).
Proof.
  intros w x Hw Hx. rewrite (pow2_half w Hw) in Hx.
  rewrite Z.testbit_odd, Z.shiftr_div_pow2 by lia. pose proof (pow2_pos (w - 1) ltac:(lia)).
  destruct (Z.leb_spec (2 ^ (w - 1)) x).
  - replace (x / 2 ^ (w - 1)) with 1; [reflexivity|]. apply (Z.div_unique _ _ _ (x - 2 ^ (w - 1))); lia.
  - rewrite Z.div_small by lia. reflexivity.
Qed.

(** What [signed] is, for [lia]. *)
Lemma signed_cases : forall w x, 0 < w -> 0 <= x < 2 ^ w ->
  signed w x = x /\ x < 2 ^ (w - 1) \/ signed w x = x - 2 ^ w /\ 2 ^ (w - 1) <= x.
Proof. intros. unfold signed. rewrite msb by auto. destruct (Z.leb_spec (2 ^ (w - 1)) x); auto. Qed.

Lemma signed_mod : forall w x, 0 <= x < 2 ^ w -> signed w x mod 2 ^ w = x.
Proof.
  intros. unfold signed. destruct (Z.testbit x (w - 1)); [|apply Z.mod_small; auto].
  symmetry; apply (Z.mod_unique _ _ (-1)); lia.
Qed.

Lemma bit_signed : forall w x i, 0 < w -> 0 <= x < 2 ^ w -> 0 <= i ->
  Z.testbit (signed w x) i = if i <? w then Z.testbit x i else Z.testbit x (w - 1).
Proof.
  intros w x i Hw Hx Hi. destruct (Z.ltb_spec i w).
  - rewrite <- (signed_mod w x) at 2 by auto. rewrite bit_mod by lia.
    destruct (Z.ltb_spec i w); [reflexivity|lia].
  - unfold signed. destruct (Z.testbit x (w - 1)); [|apply (bit_above _ w); auto].
    replace (x - 2 ^ w) with (Z.lnot (2 ^ w - 1 - x)) by (unfold Z.lnot, Z.pred; lia).
    rewrite Z.lnot_spec, (bit_above _ w) by lia. reflexivity.
Qed.

(** A signed number that fits the width is what its bits say. *)
Lemma signed_of_mod : forall w a, 0 < w -> - 2 ^ (w - 1) <= a < 2 ^ (w - 1) -> signed w (a mod 2 ^ w) = a.
Proof.
  intros w a Hw Ha. pose proof (pow2_half w Hw).
  assert (E : a mod 2 ^ w = a /\ 0 <= a \/ a mod 2 ^ w = a + 2 ^ w /\ a < 0).
  { destruct (Z_lt_le_dec a 0); [right|left]; split; auto.
    - symmetry; apply (Z.mod_unique _ _ (-1)); lia.
    - apply Z.mod_small; lia. }
  destruct (signed_cases w (a mod 2 ^ w) Hw ltac:(apply mod_range; lia)); lia.
Qed.

Lemma sign_extend_eq : forall n t, 0 <= n -> in_range t ->
  sign_extend n t = make_bv (width t + n) (signed (width t) (bv2nat t) mod 2 ^ (width t + n)).
Proof.
  intros n [w x] Hn [Hw Hx]. unfold sign_extend; cbn [width bv2nat] in *.
  assert (P : 2 ^ (w + n) = 2 ^ n * 2 ^ w) by (rewrite Z.pow_add_r by lia; lia).
  pose proof (pow2_pos n Hn). destruct (Z.eqb_spec n 0) as [->|].
  - apply bv_eq; [lia|]. rewrite Z.add_0_r, signed_mod; auto.
  - rewrite extract_bit, repeat_bit by lia. unfold concat, bit, signed; cbn [width bv2nat]. apply bv_eq; [lia|].
    rewrite P. destruct (Z.testbit x (w - 1)).
    + apply (Z.mod_unique _ _ (-1)); nia.
    + rewrite Z.mod_small; nia.
Qed.

Lemma bvashr_eq : forall s t, in_range s -> 0 <= bv2nat t ->
  bvashr s t = nat2bv (width s) (signed (width s) (bv2nat s) / 2 ^ bv2nat t).
Proof.
  intros [w x] [w' n] [Hw Hx] Hn. cbn [width bv2nat] in *.
  unfold bvashr, negative, bvlshr, bvnot, bit, nat2bv; cbn [width bv2nat].
  destruct (Z.testbit x (w - 1)) eqn:E; apply bv_eq; auto.
  - apply (value_ext w); try apply mod_range; try lia. intros i Hi.
    rewrite !bit_mod, Z.lnot_spec, bit_mod, !bit_div, bit_mod, Z.lnot_spec, bit_signed, E by lia.
    destruct (Z.ltb_spec i w); [|lia]. destruct (Z.ltb_spec (i + n) w); [|reflexivity].
    cbn. apply negb_involutive.
  - unfold signed. rewrite E. reflexivity.
Qed.

Lemma bvslt_eq : forall s t, in_range s -> in_range t -> width s = width t ->
  bvslt s t = (signed (width s) (bv2nat s) <? signed (width t) (bv2nat t)).
Proof.
  intros [w x] [w' y] [Hw Hx] [_ Hy] W. cbn [width bv2nat] in *. subst w'.
  unfold bvslt, bvult, negative, bit, signed; cbn [width bv2nat].
  rewrite !msb by auto. pose proof (pow2_half w Hw).
  destruct (Z.leb_spec (2 ^ (w - 1)) x), (Z.leb_spec (2 ^ (w - 1)) y); cbn [andb orb negb Bool.eqb]; lia.
Qed.

Lemma bvsle_eq : forall s t, in_range s -> in_range t -> width s = width t ->
  bvsle s t = (signed (width s) (bv2nat s) <=? signed (width t) (bv2nat t)).
Proof.
  intros [w x] [w' y] [Hw Hx] [_ Hy] W. cbn [width bv2nat] in *. subst w'.
  unfold bvsle, bvule, bveq, bvult, negative, bit, signed; cbn [width bv2nat].
  rewrite !msb by auto. pose proof (pow2_half w Hw).
  destruct (Z.leb_spec (2 ^ (w - 1)) x), (Z.leb_spec (2 ^ (w - 1)) y); cbn [andb orb negb Bool.eqb]; lia.
Qed.

(** ** Small numbers *)

Lemma exponent_small : forall n w, 0 <= n -> 0 <= 2 ^ n < 2 ^ w -> 0 <= n < 2 ^ w.
Proof. intros. pose proof (pow2_gt n). lia. Qed.

Lemma rem_same : forall a, Z.rem a a = 0.
Proof.
  intros. destruct (Z.eq_dec a 0) as [->|]; [apply Zrem_0_l|]. apply Z.rem_same; auto.
Qed.

Lemma signed_0 : forall w, 0 < w -> signed w 0 = 0.
Proof. intros. unfold signed. rewrite Z.bits_0. reflexivity. Qed.

(** 1 of one bit is -1. *)
Lemma signed_1 : forall w, 0 < w -> signed w 1 = 1 \/ signed w 1 = -1.
Proof.
  intros. destruct (signed_cases w 1) as [[-> ?]|[-> E]]; auto.
  - pose proof (pow2_ge_2 w H); lia.
  - right. pose proof (pow2_half w H). pose proof (pow2_pos (w - 1)). lia.
Qed.

Lemma rem_signed_1 : forall w a, 0 < w -> Z.rem a (signed w 1) = 0.
Proof.
  intros. destruct (signed_1 w H) as [-> | ->]; [apply Z.rem_1_r|].
  change (-1) with (- (1)). rewrite Z.rem_opp_r by lia. apply Z.rem_1_r.
Qed.

Lemma pow2_eqb_0 : forall n, 0 <= n -> (2 ^ n =? 0) = false.
Proof. intros. pose proof (pow2_pos n H). lia. Qed.

Lemma pow2_succ : forall n, 0 <= n -> 2 ^ (n + 1) = 2 * 2 ^ n.
Proof. intros. apply Z.pow_succ_r; auto. Qed.

Lemma pow2_le : forall m n, m <= n -> 2 ^ m <= 2 ^ n.
Proof. intros. apply Z.pow_le_mono_r; lia. Qed.

Lemma pow2_lt : forall m n, 0 <= n -> m < n -> 2 ^ m < 2 ^ n.
Proof. intros. apply Z.pow_lt_mono_r; lia. Qed.

Lemma range_le : forall x m n, 0 <= x < 2 ^ m -> m <= n -> 0 <= x < 2 ^ n.
Proof. intros. pose proof (pow2_le m n). lia. Qed.

(** One bit taken out. *)
Lemma one_bit_eqb_1 : forall a n, 0 <= n -> ((a / 2 ^ n) mod 2 ^ 1 =? 1) = Z.testbit a n.
Proof.
  intros. rewrite Z.testbit_odd, Z.shiftr_div_pow2 by lia. change (2 ^ 1) with 2. rewrite Zmod_odd.
  destruct (Z.odd _); reflexivity.
Qed.

Lemma one_bit_eqb_0 : forall a n, 0 <= n -> ((a / 2 ^ n) mod 2 ^ 1 =? 0) = negb (Z.testbit a n).
Proof.
  intros. rewrite Z.testbit_odd, Z.shiftr_div_pow2 by lia. change (2 ^ 1) with 2. rewrite Zmod_odd.
  destruct (Z.odd _); reflexivity.
Qed.

(** Extended by n copies of the sign. *)
Lemma sext_cases : forall w n x, 0 < w -> 0 <= n -> 0 <= x < 2 ^ w -> 2 ^ w <= 2 ^ (w + n) /\
  (signed w x mod 2 ^ (w + n) = x /\ x < 2 ^ (w - 1) \/
   signed w x mod 2 ^ (w + n) = x - 2 ^ w + 2 ^ (w + n) /\ 2 ^ (w - 1) <= x).
Proof.
  intros w n x Hw Hn Hx. pose proof (pow2_le w (w + n) ltac:(lia)). split; auto.
  destruct (signed_cases w x Hw Hx) as [[-> ?]|[-> ?]]; [left|right]; split; auto.
  - apply Z.mod_small; lia.
  - symmetry; apply (Z.mod_unique _ _ (-1)); lia.
Qed.

Lemma eqb_iff : forall a b c d, (a = b <-> c = d) -> (a =? b) = (c =? d).
Proof. intros. apply eq_true_iff_eq. rewrite !Z.eqb_eq. auto. Qed.

(** The first parts of concatenations. *)
Lemma concat_eqb_first : forall a b c n, 0 <= n -> (a * 2 ^ n + b =? c * 2 ^ n + b) = (a =? c).
Proof. intros a b c n Hn. apply eqb_iff. pose proof (pow2_pos n Hn). nia. Qed.

Lemma lor_ge : forall a b, 0 <= a -> 0 <= b -> a <= Z.lor a b.
Proof.
  intros. apply Z.ldiff_le; [apply Z.lor_nonneg; auto|]. apply Z.bits_inj'; intros i Hi.
  rewrite Z.ldiff_spec, Z.lor_spec, Z.bits_0. destruct (Z.testbit a i), (Z.testbit b i); reflexivity.
Qed.

Lemma lor_bounds : forall a b n, 0 <= n -> 0 <= a < 2 ^ n -> 0 <= b < 2 ^ n ->
  a <= Z.lor a b /\ b <= Z.lor a b /\ Z.lor a b < 2 ^ n.
Proof.
  intros a b n Hn Ha Hb. pose proof (lor_range a b n Hn Ha Hb). pose proof (lor_ge a b). pose proof (lor_ge b a).
  rewrite (Z.lor_comm b a) in *. lia.
Qed.

Lemma land_le : forall a b, 0 <= a -> 0 <= b -> Z.land a b <= a.
Proof.
  intros. apply Z.ldiff_le; auto. apply Z.bits_inj'; intros i Hi.
  rewrite Z.ldiff_spec, Z.land_spec, Z.bits_0. destruct (Z.testbit a i), (Z.testbit b i); reflexivity.
Qed.

Lemma land_bounds : forall a b, 0 <= a -> 0 <= b -> 0 <= Z.land a b /\ Z.land a b <= a /\ Z.land a b <= b.
Proof.
  intros a b Ha Hb. pose proof (land_le a b). pose proof (land_le b a). rewrite (Z.land_comm b a) in *.
  split; [apply Z.land_nonneg|]; auto.
Qed.

Lemma quotient_bounds : forall a b, 0 <= a -> 0 <= b -> 0 <= a / b <= a.
Proof.
  intros a b Ha Hb. destruct (Z.eq_dec b 0) as [->|]; [rewrite Zdiv_0_r; lia|].
  split; [apply Z.div_pos; lia|]. apply Z.div_le_upper_bound; nia.
Qed.

Lemma remainder_bounds : forall a b, 0 <= a -> 0 <= b -> 0 <= a mod b <= a.
Proof.
  intros a b Ha Hb. destruct (Z.eq_dec b 0) as [->|]; [rewrite Zmod_0_r; lia|].
  split; [apply Z.mod_pos_bound; lia|]. apply Z.mod_le; lia.
Qed.

Lemma remainder_range : forall a b M, 0 <= a < M -> 0 <= b -> 0 <= a mod b < M.
Proof. intros. pose proof (remainder_bounds a b). lia. Qed.

(** ** The sign *)

Lemma signed_sext : forall w n x, 0 < w -> 0 <= n -> 0 <= x < 2 ^ w ->
  signed (w + n) (signed w x mod 2 ^ (w + n)) = signed w x.
Proof.
  intros w n x Hw Hn Hx. apply signed_of_mod; [lia|]. pose proof (pow2_le (w - 1) (w + n - 1)).
  pose proof (pow2_half w Hw). destruct (signed_cases w x Hw Hx) as [[-> ?]|[-> ?]]; lia.
Qed.

(** The sign bit turned over: half of the range is added or taken away. *)
Lemma lxor_sign : forall w x, 0 < w -> 0 <= x < 2 ^ w -> Z.lxor x (2 ^ (w - 1)) = signed w x + 2 ^ (w - 1).
Proof.
  intros w x Hw Hx. pose proof (pow2_half w Hw) as P. pose proof (pow2_pos (w - 1) ltac:(lia)) as P'.
  assert (L : forall y, 0 <= y < 2 ^ (w - 1) -> Z.lxor y (2 ^ (w - 1)) = y + 2 ^ (w - 1)).
  { intros y Hy. symmetry. apply Z.add_nocarry_lxor. apply Z.bits_inj'; intros i Hi.
    rewrite Z.land_spec, Z.bits_0. destruct (Z_lt_le_dec i (w - 1)).
    - rewrite (Z.pow2_bits_false (w - 1) i) by lia. apply andb_false_r.
    - rewrite (bit_above y (w - 1) i) by lia. reflexivity. }
  destruct (signed_cases w x Hw Hx) as [[-> ?]|[-> ?]]; [apply L; lia|].
  replace x with (Z.lxor (x - 2 ^ (w - 1)) (2 ^ (w - 1))) at 1 by (rewrite L; lia).
  rewrite Z.lxor_assoc, Z.lxor_nilpotent, Z.lxor_0_r. lia.
Qed.

(** Taken out alone. *)
Lemma sign_bit : forall w x, 0 < w -> 0 <= x < 2 ^ w ->
  (x / 2 ^ (w - 1)) mod 2 ^ 1 = 1 /\ 2 ^ (w - 1) <= x \/ (x / 2 ^ (w - 1)) mod 2 ^ 1 = 0 /\ x < 2 ^ (w - 1).
Proof.
  intros w x Hw Hx. pose proof (extract_bit (w - 1) (make_bv w x) ltac:(lia)) as E.
  apply (f_equal bv2nat) in E. unfold extract, nat2bv, bit in E. cbn [width bv2nat] in E.
  replace (w - 1 - (w - 1) + 1) with 1 in E by lia. rewrite E, msb by auto.
  destruct (Z.leb_spec (2 ^ (w - 1)) x); auto.
Qed.
