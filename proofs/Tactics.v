(** The tactics that close what most rules state. [rule] tries them all. *)

From Coq Require Import ZArith Bool Lia.
From Quarv Require Import Bv Lemmas.
Local Open Scope Z_scope.

(** ** From a statement to numbers *)

Ltac unfold_sorts :=
  unfold is_bv, is_index, same_width, can_concat, can_extract, can_extend, has_value, all_ones in *.

(** Makes each bit-vector [t] a width [w_t] and a value [v_t]. *)
Ltac destruct_bvs :=
  repeat match goal with
  | t : bv |- _ => let w := fresh "w_" t in let v := fresh "v_" t in destruct t as [w v]
  end.

Ltac compute_ops :=
  cbv beta iota zeta delta [width bv2nat nat2bv bit literal concat extract bvnot bvand bvor bvxor bvnand bvnor
    bvxnor bvneg bvadd bvsub bvmul bvudiv bvurem bvshl bvlshr bveq bvcomp bvult bvule bvugt bvuge negative
    bvslt bvsle bvsgt bvsge] in *.

Ltac extensions :=
  repeat match goal with
  | |- context [zero_extend ?n ?t] => rewrite (zero_extend_eq n t) in * by lia
  | H : context [zero_extend ?n ?t] |- _ => rewrite (zero_extend_eq n t) in * by lia
  | |- context [sign_extend ?n ?t] => rewrite (sign_extend_eq n t) in * by (compute_ops; lia)
  | H : context [sign_extend ?n ?t] |- _ => rewrite (sign_extend_eq n t) in * by (compute_ops; lia)
  end.

(** Sums and differences of machine words that stay within them. *)
Ltac words :=
  repeat match goal with
  | |- context [word_add ?a ?b] => rewrite (word_add_small a b) in * by lia
  | |- context [word_sub ?a ?b] => rewrite (word_sub_small a b) in * by lia
  | H : context [word_add ?a ?b] |- _ => rewrite (word_add_small a b) in * by lia
  | H : context [word_sub ?a ?b] |- _ => rewrite (word_sub_small a b) in * by lia
  end.

Ltac split_and :=
  repeat match goal with
  | H : _ /\ _ |- _ => destruct H
  end.

(** Names the terms and integers of a rule, and what it supposes. *)
Ltac suppose :=
  red; intros;
  match goal with |- ?P => red end;
  let H := fresh "A" in intro H; red in H; unfold_sorts; split_and; subst.

Ltac conclude :=
  repeat match goal with |- _ /\ _ => split end; try lia.

(** All of it; what remains is about numbers. *)
Ltac start :=
  suppose; destruct_bvs; extensions; compute_ops; words; subst; words; conclude;
  try (apply bv_eq; [try lia|]).

(** ** Bits *)

(** A value is below the power of 2. *)
Ltac range :=
  first
  [ assumption
  | lia
  | apply mod_range; lia
  | match goal with
    | H : 0 <= ?a < 2 ^ ?w |- 0 <= ?a < 2 ^ ?n => replace n with w by lia; exact H
    end
  | apply land_range; [lia|range|range]
  | apply lor_range; [lia|range|range]
  | apply lxor_range; [lia|range|range]
  | apply concat_range; [lia|lia|range|range] ].

Ltac bit_rewrite :=
  repeat first
  [ rewrite Z.land_spec
  | rewrite Z.lor_spec
  | rewrite Z.lxor_spec
  | rewrite Z.bits_0
  | rewrite Z.lnot_spec by lia
  | rewrite bit_mod by lia
  | rewrite bit_ones by lia
  | rewrite bit_div by lia
  | rewrite bit_concat by range
  | rewrite bit_mul by lia ].

Ltac bit_cases :=
  repeat (match goal with
  | |- context [?a <? ?b] => destruct (Z.ltb_spec a b); try (exfalso; lia)
  | |- context [?a <=? ?b] => destruct (Z.leb_spec a b); try (exfalso; lia)
  end; cbn [andb orb negb xorb]; bit_rewrite).

(** Equates positions of bits of one number, and clears bits beyond the width. *)
Ltac bit_positions :=
  repeat match goal with
  | H : 0 <= ?x < 2 ^ ?w |- context [Z.testbit ?x ?i] => rewrite (bit_above x w i H) by lia
  | |- context [Z.testbit ?x ?i] => rewrite (Z.testbit_neg_r x i) by lia
  end;
  repeat match goal with
  | |- context [Z.testbit ?x ?i] =>
    match goal with
    | |- context [Z.testbit x ?j] => tryif constr_eq i j then fail else replace j with i by lia
    end
  end.

Ltac bit_tables :=
  repeat match goal with |- context [Z.testbit ?x ?i] => destruct (Z.testbit x i) end; reflexivity.

Ltac bits :=
  apply Z.bits_inj'; let i := fresh "i" in let H := fresh "Hi" in intros i H;
  bit_rewrite; bit_cases; bit_positions; try lia; bit_tables.

(** ** Polynomials modulo 2^w *)

Ltac ring_mod :=
  repeat first
  [ rewrite neg_mod by (apply pow2_pos; lia)
  | rewrite Zplus_mod_idemp_l
  | rewrite Zplus_mod_idemp_r
  | rewrite Zmult_mod_idemp_l
  | rewrite Zmult_mod_idemp_r
  | rewrite Zminus_mod_idemp_l
  | rewrite Zminus_mod_idemp_r
  | rewrite Zmod_mod ];
  f_equal; ring.

(** ** Sums without products: each [mod] by cases *)

Ltac no_mod a := match a with context [_ mod _] => fail 1 | _ => idtac end.

Ltac mod_cases :=
  repeat match goal with
  | |- context [Z.lnot ?x mod 2 ^ ?w] => no_mod x; rewrite (lnot_mod x w) in * by lia
  | |- context [(?a + ?b) mod ?M] => no_mod a; no_mod b; 
      let E := fresh in destruct (mod_add_cases a b M) as [[E ?]|[E ?]]; [lia|lia|rewrite E in *|rewrite E in *]
  | |- context [(?M - ?b) mod ?M] => no_mod b;
      let E := fresh in destruct (neg_mod_cases b M) as [[E ?]|[E ?]]; [lia|rewrite E in *|rewrite E in *]
  | |- context [?a mod ?M] => no_mod a; rewrite (Z.mod_small a M) in * by lia
  end.

Ltac with_powers :=
  repeat match goal with
  | H : 0 < ?w < word |- _ =>
    lazymatch goal with
    | _ : 2 <= 2 ^ w |- _ => fail
    | _ => pose proof (pow2_ge_2 w (proj1 H))
    end
  end.

Ltac linear := with_powers; mod_cases; lia.

(** ** All of them *)

Ltac rule := start; first [reflexivity | lia | solve [ring_mod] | solve [bits] | solve [linear]].
